# SPDX-License-Identifier: Apache-2.0
"""A push of every setting to one model, over HTTP, and what it leaves in the router.

The model comes from the environment. One router is pushed to, read back, pushed wrong values and rebooted.
"""
import os
import unittest

from accounts import md5_crypt, password_digest
from families import FALCON, FAMILY_OF
from router import Router, wait_for
from vocabulary import COMMON, DISABLE_KEYS, HIDDEN_KEYS, TABLES

SET = "/cloud/aerolink/batch_set"
GET = "/cloud/aerolink/batch_get"

# What is pushed: each differs from what a new router has.
PUSHED = {
    "2g_ssid": "Harbour \"Cafe\" $HOME", "2g_channel": "11", "2g_txpower": "medium", "2g_htmode": "HT40",
    "2g_encrytion": "psk-mixed", "2g_key": "it's a pass phrase", "2g_disable": "1", "2g_hidden": "1",
    "guest_2g_ssid": "Harbour guests", "guest_2g_encrytion": "psk2", "guest_2g_key": "guests only",
    "guest_2g_disable": "0",
    "5g_ssid": "Hafencafé 5G", "5g_channel": "149", "5g_txpower": "high", "5g_htmode": "VHT40",
    "5g_encrytion": "psk-mixed", "5g_key": "another pass phrase", "5g_disable": "1", "5g_hidden": "1",
    "guest_5g_ssid": "Harbour guests 5G", "guest_5g_encrytion": "psk2", "guest_5g_key": "guests 5g only",
    "guest_5g_disable": "0", "txpower_max": "15",
    "probe_data_path1": "https://collect.example/1", "probe_data_path2": "ftp://collect.example/2",
    "probe_max_lines": "500", "probe_interval": "30", "probe_json": "0", "probe_virmac": "1",
    "probe_type": "tcp", "probe_tcpurl": "collect.example:99", "probe_filter": "1", "probe_sflag": "1",
    "probe_protocol": "2",
    "probe_channel": "1", "probe_channel5g": "44", "probe_induce": "1",
    "lan_ip": "192.168.70.1", "guest_lan_ip": "192.168.71.1",
    "autoupdate_firmware_path": "http://firmware.example/image.bin", "autoupdate_time": "04:30",
    "autoupdate_enable": "0", "password": "n3w $ecret", "system_timezone": "America/Argentina/Buenos_Aires",
    "auto_timezone": "0", "hostname": "harbour-cafe", "server_name": "cloud.customer.example",
    "server_url": "https://telemetry.customer.example/", "language": "de",
    "image_url": "https://customer.example/logo",
    "customer_name": "Harbour Cafe", "help_url": "https://customer.example/help?a=b",
    "wan_proto": "static", "wan_username": "user@isp", "wan_password": "isp secret",
    "wan_ipaddr": "203.0.113.9", "wan_gateway": "203.0.113.1", "wan_netmask": "255.255.255.0",
    "wan_dns": "203.0.113.53", "reboot_flag": "0",
}
TIME_ZONE_RULE = "<-03>3"

# Values that the named check refuses.
REFUSED = {"ssid": "s" * 33, "key": "7 chars", "url": "file:///etc/passwd", "ipv4": "300.1.1"}


def txpower(level, maximum):
    return str(int(int(maximum) * {"medium": 0.5, "high": 0.75}[level]))


def swap_band(key):
    """The key as a falcon knows it after its first full read."""
    return {"2g_": "5g_", "5g_": "2g_"}.get(key[:3], key[:3]) + key[3:]


class BatchTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.router = Router(os.environ["ROUTER_MODEL"])
        self.addCleanup(self.router.stop)
        self.family = FAMILY_OF[self.router.model]
        self.rows = TABLES[self.family.table]
        self.request = {row.key: PUSHED[row.key] for row in COMMON + self.rows}
        if "5g_htmode" in self.request:
            self.request["5g_htmode"] = self.family.htmode_5g
        # So that a bandwidth or mode that is written can be told from one that is left alone.
        for option in self.family.bandwidth:
            self.router.shell(f"uci set {option}=old && uci commit wireless")
        self.router.wait_until_booted()
        self.journal_length = len(self.router.journal())

    def test_push_read_and_reboot(self):
        before = self.router.uci()
        for key, path in ((row.key, row.path) for row in self.rows):
            self.assertNotEqual(before.get(path), self.request[key], f"{key} is no change")
        with self.subTest("a push of everything"):
            self.check_push(before)
        with self.subTest("reading by name"):
            self.check_named_read()
        with self.subTest("reading in full"):
            self.check_full_read()
        with self.subTest("refused values"):
            self.check_refused_values()
        with self.subTest("reboot"):
            self.check_reboot()

    def new_journal(self):
        """What was asked since the last look."""
        journal = self.router.journal()
        new = journal[self.journal_length:]
        self.journal_length = len(journal)
        return new

    def check_notified_only(self):
        wait_for("the journal", lambda: len(self.router.journal()) > self.journal_length)
        self.assertEqual(self.new_journal(), [["ubus", "call", "mqtt", "notify"]])

    def check_push(self, before):
        reply = self.router.post(SET, self.request)
        self.assertEqual(reply, (200, 0, {}))
        self.assertEqual(self.router.uci(), self.expected_configuration(before))
        self.assertEqual(self.router.shell("uci changes"), "", "all is committed")
        self.assertEqual(self.router.read("/tmp/TZ"), TIME_ZONE_RULE + "\n")
        self.assertEqual(self.router.read("/tmp/reboot_flag"), "0\n")
        self.check_root_password(self.request["password"])
        self.check_notified_only()

    def expected_configuration(self, before):
        after = before | {row.path: self.request[row.key] for row in COMMON if row.key != "reboot_flag"}
        for row in self.rows:
            value = self.request[row.key]
            if row.path not in before and row.key not in self.family.first_time:
                continue
            if row.key.endswith("_txpower"):
                value = txpower(value, before[row.path + "_max"])
            elif row.key == "password":
                value = password_digest(value, self.router.read("/etc/device/service_code").strip())
            after[row.path] = value
        return after | self.family.bandwidth | {"system.@system[0].timezone": TIME_ZONE_RULE,
                                                "dhcp.localhost.ip": self.request["lan_ip"]}

    def check_root_password(self, password):
        stored = self.router.shell("grep ^root: /etc/shadow").split(":")[1]
        self.assertTrue(stored.startswith("$1$"), stored)
        self.assertEqual(md5_crypt(password, stored), stored)

    def check_reply(self, reply, expected):
        """A success with the expected members in their order."""
        self.assertEqual((reply.status, reply.result, list(reply.response.items())),
                         (200, 0, list(expected.items())))

    def check_named_read(self):
        configuration = self.router.uci()
        rows = COMMON + self.rows
        expected = {row.key: configuration.get(row.path, "") for row in rows}
        self.check_reply(self.router.get(GET, names=[row.key for row in rows]), expected)

    def check_full_read(self):
        configuration = self.router.uci()
        expected = {row.key: configuration.get(row.path, "") for row in COMMON if row.key != "reboot_flag"}
        expected["2g_disable"] = "1"  # a reboot flag of "0", upside down; the table's row replaces it
        for row in self.rows:
            key = swap_band(row.key) if self.family is FALCON else row.key
            value = configuration.get(row.path, "0" if key in DISABLE_KEYS | HIDDEN_KEYS else "")
            if value and key != "password":
                expected[key] = value
        self.check_reply(self.router.get(GET), expected)
        self.check_reply(self.router.get(GET), expected)
        self.assertEqual(self.new_journal(), [])

    def check_refused_values(self):
        before = self.router.uci()
        rows = [row for row in self.rows if row.check != "-" and row.path in before]
        self.assertTrue(rows)
        reply = self.router.post(SET, {row.key: REFUSED[row.check] for row in rows})
        self.assertEqual(reply, (200, 0, {row.key: "set false" for row in rows}))
        unchecked = {row.path: REFUSED[row.check] for row in rows if row.key in self.family.unchecked}
        self.assertEqual(self.router.uci(), before | unchecked)
        self.check_notified_only()

    def check_reboot(self):
        before = self.router.uci()
        boots = self.router.boots()
        self.router.shell("echo figures >/tmp/tertf/tertfinfo_bak")
        reply = self.router.post(SET, {"reboot_flag": "1"})
        self.assertEqual(reply, (200, 0, {}))
        wait_for("the reboot", lambda: self.router.boots() > boots)
        self.assertEqual(self.new_journal()[:2], [["reboot"], ["boot"]])
        self.assertEqual(self.router.get("/cloud/aerolink/get").result, 0)
        self.assertEqual(self.router.uci(), before)
        self.assertEqual(self.router.read("/etc/tertf/tertfinfo_bak"), "figures\n")
        self.assertFalse(self.router.exists("/tmp/reboot_flag"))
        self.check_root_password(self.request["password"])


if __name__ == "__main__":
    unittest.main()
