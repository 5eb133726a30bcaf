# SPDX-License-Identifier: Apache-2.0
"""A device of one model, provisioned over HTTP from the factory to its brand, and read back.

The model comes from the environment. One router is provisioned, handed to a customer's cloud, provisioned
again and restarted by that.
"""
import os
import shlex
import unittest

from accounts import md5_crypt, password_digest
from provisioning import (COMPANION, FIRST_BRANDING, FIRST_CUSTOMER_FILE, FIRST_DRIVER, FIRST_DRIVER_STATE,
                          FIRST_REQUEST, LOGO_PATH, LOGO_URL, MODELS, SECOND_BRANDING, SECOND_CUSTOMER_FILE,
                          SECOND_DRIVER, SECOND_REQUEST, TIME_ZONE_RULE)
from router import wait_for
from vocabulary import COMMON, DISABLE_KEYS, HIDDEN_KEYS, TABLES
from watched import WatchedRouter

SET = "/whiteboard/set_config"
GET = "/whiteboard/get_config"
DESIGNATE = "/whiteboard/designated_customer"

LOGO = b"\x89PNG\r\n\x1a\n a logo \0\xff"
ACCOUNT = {"username": "jane", "email": "jane@mail.example", "bindtime": "2026-05-01 12:00:00"}
ACCOUNT_OPTIONS = {f"zuconfig.cloud.{key}": text for key, text in ACCOUNT.items()}
UPDATER = "zuautoupdater"
UPDATER_SLEEP = "sleep 10800"
OTHER = {"0": "1", "1": "0"}


class ProvisioningTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        name = os.environ["ROUTER_MODEL"]
        self.model = MODELS[name]
        self.router = WatchedRouter(name)
        self.addCleanup(self.router.stop)

    def test_from_the_factory_to_the_brand(self):
        with self.subTest("first provisioning"):
            self.check_first_provisioning()
        with self.subTest("reading back"):
            self.check_named_read(["2g_ssid", "password", "xwf_ssid"], FIRST_BRANDING, {})
        with self.subTest("a customer's cloud"):
            self.check_incomplete_designation()
            self.check_designation_in_asia_pacific()
            self.check_designation_elsewhere()
        with self.subTest("second provisioning"):
            self.check_second_provisioning()
        with self.subTest("reading back after the restart"):
            self.check_full_read()
            self.check_named_read(["lan_ip", "xwf_mode"], SECOND_BRANDING, {"xwf_mode": "portal"})
        self.assertEqual(self.router.shell("uci changes"), "", "all is committed")

    # --- First provisioning --------------------------------------------------------------------------

    def check_first_provisioning(self):
        self.prepare()
        before = self.router.uci()
        updaters = self.router.wait_for_processes(UPDATER, 1)
        self.assertTrue(self.router.exists("/tmp/dhcp.leases"))
        request = FIRST_REQUEST | {"autoupdate_enable": self.model.updater, "5g_htmode": self.model.htmode_5g}
        self.assertEqual(self.router.post(SET, request), (200, 0, {}))

        self.assertEqual(self.router.kept("/etc/wbf/customer").decode(), FIRST_CUSTOMER_FILE)
        self.assertEqual(self.router.uci(), self.first_configuration(before))
        self.check_root_password(request["password"])
        self.assertEqual(self.router.read("/tmp/TZ"), TIME_ZONE_RULE + "\n")
        self.assertFalse(self.router.exists("/tmp/dhcp.leases"))
        if self.model.family.driver:
            self.check_driver()
        self.check_updater(updaters)
        wait_for("the logo", lambda: self.router.kept(LOGO_PATH) == LOGO)
        self.check_first_calls()

    def prepare(self):
        """Makes what will be written differ from what there is."""
        options = {path: "old" for path in self.model.family.first
                   if path.endswith((".htmode", ".hwmode", ".noscan"))}
        options |= {"zuconfig.cloud.enable": "0", "zuconfig.cloud.check_status": "0"}
        if self.model.repeaters:
            options["repacd.repacd.Enable"] = self.model.repeaters
        logo = "".join(f"\\{byte:03o}" for byte in LOGO)
        self.router.shell("\n".join([*(f"uci set '{path}={value}'" for path, value in options.items()),
                                     "uci commit", "mkdir -p /etc/device/internet/harbour.example",
                                     f"printf '{logo}' >/etc/device/internet/harbour.example/logo.png"]))
        self.bind()
        self.assertEqual(self.router.asked(), [])

    def bind(self):
        self.assertEqual(self.router.post("/router/bind_info", ACCOUNT).result, 0)

    def first_configuration(self, before):
        service_code = self.router.kept("/etc/device/service_code").decode().strip()
        after = before | self.model.family.first | self.model.txpower | {
            "zuconfig.general.password": password_digest(FIRST_REQUEST["password"], service_code),
            "zuconfig.autoupdate.enable": self.model.updater}
        return {path: value for path, value in after.items() if path not in ACCOUNT_OPTIONS}

    def check_root_password(self, password):
        stored = self.router.kept("/etc/shadow").decode().partition("root:")[2].partition(":")[0]
        self.assertTrue(stored.startswith("$1$"), stored)
        self.assertEqual(md5_crypt(password, stored), stored)

    def check_driver(self):
        for interface, parameters in FIRST_DRIVER_STATE.items():
            stored = self.router.shell(f"cd /tmp/iwpriv/{interface} && grep '' *").splitlines()
            self.assertEqual(dict(line.split(":", 1) for line in stored), parameters)

    def check_updater(self, before):
        """It and its sleep were killed; when it is enabled, one other updater runs."""
        if self.model.updater == "0":
            self.router.wait_for_processes(UPDATER, 0)
            self.router.wait_for_processes(UPDATER_SLEEP, 0)
            return
        sleeps = self.router.wait_for_processes(UPDATER_SLEEP, 1)
        updaters = self.router.wait_for_processes(UPDATER, 1)
        self.assertNotEqual(updaters, before)
        self.assertEqual(self.router.shell(f"pgrep -P {updaters[0]}").split(), sleeps)

    def check_first_calls(self):
        restarts = [[shlex.split(call) for call in restart.calls] for restart in self.model.restart]
        side_by_side = [[["wget", "-O", LOGO_PATH, LOGO_URL]], *restarts, [["reload_config"]]]
        if self.model.updater == "1":
            side_by_side.append([["zuautoupdater"]])
        if self.model.family.driver:
            side_by_side.append([shlex.split(call) for call in FIRST_DRIVER])
        count = sum(map(len, side_by_side))
        wait_for("the network's restart", lambda: len(self.router.entries()) >= count)
        self.check_delays(self.router.entries())
        self.check_calls(self.router.asked(), side_by_side)

    def check_delays(self, entries):
        """Each command line that restarts the network began with its sleep, after the password was set."""
        password_set = (self.router.state / "etc/shadow").stat().st_mtime
        for restart in self.model.restart:
            start = min(entry.time for entry in entries if entry.words == shlex.split(restart.calls[0]))
            self.assertGreaterEqual(start - password_set, restart.delay, restart)

    def check_calls(self, calls, side_by_side):
        """These calls and no others, in the order within each of the lists that ran side by side."""
        self.assertEqual(sorted(calls), sorted(sum(side_by_side, [])))
        for expected in side_by_side:
            self.assertEqual([call for call in calls if call in expected], expected)

    # --- Designation ---------------------------------------------------------------------------------

    def check_incomplete_designation(self):
        before = self.router.uci()
        for request in ({}, {"server_url": "https://x.example"}, {"server_name": "x.example"}):
            reply = self.router.post(DESIGNATE, request)
            self.assertEqual(reply, (400, -5, {"msg": "missing parameters"}))
        self.assertEqual(self.router.uci(), before)
        self.assertEqual(self.router.kept("/etc/wbf/customer").decode(), FIRST_CUSTOMER_FILE)
        self.assertEqual(self.router.asked(), [])

    def check_designation_in_asia_pacific(self):
        reply = self.router.post("/cloud/aerolink/set", {"cloud_enable": False, "serverzone": "Asia Pacific",
                                                         "rtty_ssh": "1", "rtty_web": "1"})
        self.assertEqual(reply.result, 0)
        self.assertFalse(self.router.starts_at_boot("zu_mqtt"))
        self.bind()
        before = self.router.uci()
        self.router.asked()

        self.designate("cloud.one.example", "https://one.example/telemetry")
        after = before | {"zuconfig.cloud.enable": "1", "zuconfig.cloud.check_status": "1",
                          "zuconfig.cloud.serverzone": "cloud.one.example",
                          "zubigdata.bigdata.server_url": "https://one.example/telemetry"}
        self.assertEqual(self.router.uci(), {path: value for path, value in after.items()
                                             if path not in ACCOUNT_OPTIONS})

    def check_designation_elsewhere(self):
        self.bind()
        before = self.router.uci()
        self.designate("cloud.two.example", "https://two.example/telemetry")
        self.assertEqual(self.router.uci(),
                         before | {"zubigdata.bigdata.server_url": "https://two.example/telemetry"})

    def designate(self, server_name, server_url):
        """The client's stop and start run side by side: nobody knows whether it runs before the next boot."""
        self.router.shell("echo customer_name=old >/etc/wbf/customer")
        reply = self.router.post(DESIGNATE, {"server_name": server_name, "server_url": server_url})
        self.assertEqual(reply, (200, 0, {}))
        self.assertEqual(sorted(self.router.asked(3)),
                         [["/etc/init.d/zu_mqtt", action] for action in ("enable", "start", "stop")])
        wait_for("the start at boot", lambda: self.router.starts_at_boot("zu_mqtt"))
        wait_for("the customer file", lambda: self.router.kept("/etc/wbf/customer") == b"fw_type=1\n")

    # --- Second provisioning -------------------------------------------------------------------------

    def check_second_provisioning(self):
        self.router.shell("echo 1 >/etc/device/xwf_delay; echo figures >/tmp/tertf/tertfinfo_bak")
        before = self.router.uci()
        boots = self.router.boots()
        self.assertIsNone(self.router.kept("/etc/config/xwf"))
        request = SECOND_REQUEST | {"autoupdate_enable": OTHER[self.model.updater]}
        self.assertEqual(self.router.post(SET, request), (200, 0, self.model.family.answer))

        self.router.wait_until_restarted(boots)
        self.check_second_calls()
        self.assertEqual(self.router.uci(), self.second_configuration(before))
        self.assertEqual(self.router.kept("/etc/wbf/customer").decode(), SECOND_CUSTOMER_FILE)
        self.assertEqual(self.router.kept(LOGO_PATH), LOGO)
        self.assertEqual(self.router.kept("/etc/tertf/tertfinfo_bak"), b"figures\n")
        self.assertFalse(self.router.exists("/tmp/reboot_flag"))
        self.router.wait_for_processes("sbin/zu_mqtt$", 1)
        self.check_root_password(FIRST_REQUEST["password"])

    def check_second_calls(self):
        """The restart of the network competes with that of the router; only the latter is sure to happen."""
        calls = self.router.asked()
        calls = calls[:calls.index(["boot"])]
        network = [shlex.split(call) for restart in self.model.restart for call in restart.calls]
        side_by_side = [[["xwf-fix"]], [["reboot"]]]
        if self.model.updater == "0":
            side_by_side.append([["zuautoupdater"]])
        if self.model.family.driver:
            side_by_side.append([shlex.split(call) for call in SECOND_DRIVER])
        self.check_calls([call for call in calls if call not in network], side_by_side)

    def second_configuration(self, before):
        after = before | self.model.family.second | {"zuconfig.autoupdate.enable": OTHER[self.model.updater],
                                                     "xwf.general": "xwf", "xwf.general.enable": "1"}
        del after["wireless.guest2g.key"]
        return after | {f"xwf.general.{key}": value for key, value in COMPANION.items()}

    # --- Reading back --------------------------------------------------------------------------------

    def check_reply(self, reply, expected):
        """A success with the expected members in their order."""
        self.assertEqual((reply.status, reply.result, list(reply.response.items())),
                         (200, 0, list(expected.items())))

    def check_named_read(self, names, branding, companion):
        configuration = self.router.uci()
        settings = {row.key: configuration.get(row.path, "") for name in names
                    for row in COMMON + TABLES[self.model.table] if row.key == name}
        self.check_reply(self.router.get(GET, names), settings | branding | companion)

    def check_full_read(self):
        configuration = self.router.uci()
        settings = {row.key: configuration.get(row.path, "") for row in COMMON if row.key != "reboot_flag"}
        settings["2g_disable"] = "0"  # the reboot flag, upside down; the table's row replaces it
        switches = DISABLE_KEYS | HIDDEN_KEYS if self.model.table != "batch_list_finch" else ()
        for row in TABLES[self.model.table]:
            value = configuration.get(row.path, "0" if row.key in switches else "")
            if value and row.key != "password":
                settings[row.key] = value
        self.check_reply(self.router.get(GET), settings | SECOND_BRANDING | COMPANION)
        self.assertNotIn(["reboot"], self.router.asked())


if __name__ == "__main__":
    unittest.main()
