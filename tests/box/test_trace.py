# SPDX-License-Identifier: Apache-2.0
"""The record that the router's daemon keeps of requests and of what the plug-in does for them."""
import json
import re
import unittest
from datetime import datetime

from router import Router, wait_for


class Trace(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.router = Router("heron")
        cls.addClassCleanup(cls.router.stop)
        cls.router.wait_until_booted()

    def lines(self):
        text = (self.router.state / "var/log/trace").read_text(encoding="utf-8")
        return [json.loads(line) for line in text.splitlines()]

    def traced(self, path, request):
        """What the record has for one request: pairs of kind and members."""
        self.router.get("/cloud/aerolink/get")
        before = len(self.lines())
        self.reply = self.router.post(path, request)
        return [(line["kind"], line["of"]) for line in self.lines()[before:]]

    def test_a_push_in_its_order(self):
        path, request = "/cloud/aerolink/batch_set", {"2g_ssid": "Quay", "5g_key": "short"}
        self.assertEqual(self.traced(path, request), [
            ("request", {"method": "POST", "path": path, "request": request}),
            ("system", {"command": "uci commit"}),
            ("sync", {}),
            ("set", {"path": "wireless.@wifi-iface[0].ssid", "from": "aerolink-4017", "value": "Quay"}),
            ("system", {"command": "uci commit"}),
            ("sync", {}),
            ("system", {"command": "uci commit"}),
            ("sync", {}),
            ("fork", {"command": "ubus call mqtt notify"}),
            ("reply", {"status": 200, "reply": {"result": 0, "response": {"5g_key": "set false"}}})])

    def test_what_the_platform_does_for_a_call_is_not_recorded_again(self):
        kinds = [kind for kind, _ in self.traced("/cloud/aerolink/batch_set", {"system_timezone": "Asia/Tokyo"})]
        self.assertEqual(kinds.count("ucireturn"), 1)
        self.assertNotIn("popen", kinds, "the platform's own")

    def test_a_deletion_names_what_was_there(self):
        account = {"username": "jane", "email": "j@mail.example", "bindtime": "now"}
        self.router.post("/router/bind_info", account)
        effects = self.traced("/cloud/aerolink/set", {"cloud_enable": False, "serverzone": "America", "rtty_ssh": "0",
                                                      "rtty_web": "0"})
        self.assertIn(("delete", {"path": "zuconfig.cloud.username", "from": "jane", "value": None}), effects)
        self.assertIn(("system", {"command": "killall -9 rtty 2>/dev/null"}), effects)

    def test_record_and_log_agree_on_the_time(self):
        self.traced("/cloud/aerolink/batch_set", {"2g_ssid": "in order"})
        log = (self.router.state / "var/log/log").read_text(encoding="utf-8").splitlines()
        logged = datetime.fromisoformat(next(line for line in log if "in order" in line).split()[0])
        lines = self.lines()
        start = max(index for index, line in enumerate(lines) if line["kind"] == "request")
        first, last = (datetime.fromisoformat(lines[index]["time"]) for index in (start, start + 1))
        self.assertLess(first, logged)
        self.assertLess(logged, last)


class Log(unittest.TestCase):
    def test_keeps_time_level_and_text_and_survives_a_restart(self):
        with Router("heron") as router:
            router.shell("logger -t shout -p user.err 'one\ttwo \033[31m <b>'; logger -p daemon.debug later")
            log = router.state / "var/log/log"
            pattern = r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z user\.err shout: one\ttwo \^\[\[31m <b>$"
            wait_for("the line", lambda: re.search(pattern, log.read_text(encoding="utf-8"), re.MULTILINE))
            self.assertIn("shout: one", router.shell("logread"))
            router.run("reboot")
            wait_for("the reboot", lambda: router.boots() == 2)
            self.assertRegex(log.read_text(encoding="utf-8"), re.compile(pattern, re.MULTILINE))

    def test_is_put_aside_when_it_has_grown(self):
        with Router("heron") as router:
            line = "x" * 900
            router.shell(f"i=0; while [ $i -lt 5200 ]; do echo {line}; i=$((i+1)); done | logger -t flood")
            wait_for("the new file", (router.state / "var/log/log.old").exists)
            self.assertLess((router.state / "var/log/log").stat().st_size, 4 << 20)


if __name__ == "__main__":
    unittest.main()
