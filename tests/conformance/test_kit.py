# SPDX-License-Identifier: Apache-2.0
"""The kit's own libraries keep every contract, and the program leaves the router as it was."""
import unittest

import device
from router import SOURCE, wait_for

class Kit(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.router = device.start("plover")
        cls.addClassCleanup(cls.router.stop)
        cls.router.shell("uci set system.@system[0].hostname=waiting")
        cls.before = cls.look()
        cls.outcome = device.check(cls.router)
        cls.after = cls.look()

    @classmethod
    def look(cls):
        """What the program must leave as it is, changes that wait for their commit included."""
        return (cls.router.uci(), cls.router.shell("uci changes; ls /tmp /tmp/.uci"), cls.router.journal())

    def assert_kept(self, outcome, *skipped):
        self.assertEqual(outcome.of("FAIL"), {})
        self.assertEqual({contract.split()[0] for contract in outcome.of("skipped")}, set(skipped))
        self.assertEqual(outcome.status, 0, outcome)
        self.assertEqual(outcome.summary,
                         f"{len(outcome.of('ok'))} kept, 0 broken, {len(outcome.of('skipped'))} skipped")

    def test_keeps_every_contract(self):
        self.assert_kept(self.outcome, "wifi_check_repeater_is_connected", "mt76x8_private_iwpriv_set")

    def test_stays_as_it_was(self):
        self.assertEqual(self.after, self.before)

    def test_every_function_is_checked(self):
        self.assertEqual({line.contract.split()[0] for line in self.outcome.lines}, device.platform_functions())

    def test_document(self):
        """It names every function, and the lines that it shows are the program's."""
        text = (SOURCE / "docs/porting.md").read_text(encoding="utf-8")
        for function in device.platform_functions() | {"zuci2_free", "custom_api_dispatcher"}:
            self.assertIn(f"`{function}`", text)
        shown = [line for line in map(device.LINE.fullmatch, text.splitlines()) if line]
        self.assertEqual({line[1] for line in shown}, {"ok", "FAIL", "skipped"})
        for line in shown:
            self.assertIn(line[2], {line.contract for line in self.outcome.lines})

    def test_repeater(self):
        for state, said in (("0", "down"), ("1", "up")):
            self.router.shell(f"echo {state} >/etc/device/repeater")
            self.assert_kept(device.check(self.router, "--repeater", said, "wifi_check_repeater_is_connected"))

    def test_driver(self):
        words = ["--interface", "ra0", "Its network", "mt76x8_private_iwpriv_set"]
        self.assert_kept(device.check(self.router, *words))
        self.assertEqual(self.router.journal()[-1], ["iwpriv", "ra0", "set", "SSID=Its network"])

    def test_stopped_half_way(self):
        package = "/etc/config/aerolink_conformance"
        self.router.shell(f"{device.PROGRAM} >/dev/null 2>&1 & echo $! >/tmp/program")
        wait_for("the checks", lambda: self.router.exists(package))
        self.router.shell("kill $(cat /tmp/program)")
        wait_for("the end", lambda: not self.router.exists(f"/proc/{self.router.read('/tmp/program').strip()}"))
        self.assertFalse(self.router.exists(package))
        self.assertNotIn("conformance", self.router.shell("ls /tmp /tmp/.uci"))

    def test_words_that_make_no_sense(self):
        for words in ("--help", "--repeater", "--repeater sideways", "--interface ra0", "nosuch"):
            self.assertEqual(device.check(self.router, *words.split()).status, 2, words)


if __name__ == "__main__":
    unittest.main()
