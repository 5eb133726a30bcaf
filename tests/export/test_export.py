# SPDX-License-Identifier: Apache-2.0
"""`aerolink export`: what is in the batch, what is listed with which reason, and the command line."""
import json
import subprocess
import unittest

from device import AEROLINK, Device, Planner


class ExportTest(unittest.TestCase):
    def device(self, model, facts=(), **options):
        planner = Planner()
        self.addCleanup(planner.close)
        self.planner = planner
        device = self.enterContext(Device(model, planner, facts))
        for path, value in options.items():
            device.set(path.replace("__", "."), value)
        return device

    def reason(self, export, path):
        return {lost["path"]: lost["reason"] for lost in export["lost"]}[path]


class Batch(ExportTest):
    def test_power_is_a_level_name(self):
        for power, level in {"18": "max", "13": "high", "9": "medium", "0": "low"}.items():
            export = self.device("finch", wireless__radio0__txpower=power).export()
            self.assertEqual(export["batch"]["2g_txpower"], level)
        export = self.device("finch", wireless__radio0__txpower="14").export()
        self.assertNotIn("2g_txpower", export["batch"])
        self.assertIn("cannot be pushed", self.reason(export, "wireless.radio0.txpower"))

    def test_txpower_max_only_where_both_radios_agree(self):
        alike = self.device("heron", wireless__wifi0__txpower_max="25", wireless__wifi1__txpower_max="25").export()
        self.assertEqual(alike["batch"]["txpower_max"], "25")
        export = self.device("heron").export()
        self.assertNotIn("txpower_max", export["batch"])
        self.assertIn("which differ here", self.reason(export, "wireless.wifi1.txpower_max"))

    def test_what_is_not_set_stays_so(self):
        device = self.device("heron")
        before = device.options()
        device.push(device.export()["batch"])
        self.assertEqual(device.options(), before)

    def test_a_full_read_would_have_changed_it(self):
        """What made exports necessary: a read pushed back is another configuration."""
        device = self.device("heron")
        read = self.planner.plan(device.snapshot() | {"route": "batch_get"}, {})["response"]
        self.assertNotEqual(device.push(read)["changes"], [])

    def test_password_and_reboot_are_never_in_it(self):
        export = self.device("wren").export()
        self.assertFalse({"password", "reboot_flag"} & export["batch"].keys())
        self.assertTrue(self.reason(export, "zuconfig.general.password"))

    def test_what_is_recorded_counts(self):
        device = self.device("finch")
        device.uci("set", "wireless.radio0.channel=11")
        recorded = device.snapshot()
        done = subprocess.run([AEROLINK, "export", "--json", "--device", "-"], input=json.dumps(recorded), text=True,
                              capture_output=True, check=True)
        self.assertEqual(json.loads(done.stdout)["batch"]["2g_channel"], "11")


class Reasons(ExportTest):
    def test_another_option_would_change_too(self):
        export = self.device("finch", dhcp__localhost__ip="10.1.1.1").export()
        self.assertNotIn("lan_ip", export["batch"])
        self.assertIn("would also change dhcp.localhost.ip", self.reason(export, "network.lan.ipaddr"))

    def test_a_value_that_fails_its_check(self):
        export = self.device("finch", wireless__default_radio0__key="short").export()
        self.assertIn("8 to 63 bytes", self.reason(export, "wireless.default_radio0.key"))

    def test_a_list(self):
        device = self.device("heron")
        device.uci("add_list", "system.@system[0].hostname=two")
        device.uci("commit", "system")
        export = device.export()
        self.assertNotIn("hostname", export["batch"])
        self.assertIn("list", self.reason(export, "system.@system[0].hostname"))

    def test_stored_in_another_form(self):
        export = self.device("heron", wireless__wifi1__htmode="VHT40").export()
        self.assertNotIn("5g_htmode", export["batch"])
        self.assertIn("something else", self.reason(export, "wireless.wifi1.htmode"))

    def test_a_falcons_bands(self):
        before, after = (self.device("falcon", {"full_read_done": done}).export() for done in (False, True))
        self.assertIn("not yet done", before["notes"][0])
        self.assertEqual(before["batch"]["2g_ssid"], after["batch"]["5g_ssid"])


class CommandLine(unittest.TestCase):
    def run_export(self, *arguments, text=""):
        return subprocess.run([AEROLINK, "export", *arguments], input=text, capture_output=True, text=True, check=False)

    def test_the_batch_alone_is_on_standard_output(self):
        done = self.run_export("--model", "heron")
        self.assertEqual(done.returncode, 0)
        self.assertEqual(json.loads(done.stdout), json.loads(self.run_export("--model", "heron", "--json").stdout)["batch"])
        self.assertIn("Not restored by this batch:\n", done.stderr)
        self.assertIn("zuconfig.general.password", done.stderr)

    def test_wrong_use(self):
        for arguments in ((), ("--model", "hern"), ("--device", "/nonexistent"), ("--model", "heron", "{}")):
            with self.subTest(arguments):
                done = self.run_export(*arguments)
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertTrue(done.stderr.startswith("aerolink"), done.stderr)

    def test_help(self):
        self.assertIn("usage: aerolink export", self.run_export("--help").stdout)


if __name__ == "__main__":
    unittest.main()
