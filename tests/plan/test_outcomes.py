# SPDX-License-Identifier: Apache-2.0
"""What a plan says of each key: a table of requests, and what must be said of the keys in them."""
import re
import unittest

from support import factory, plan, stream

SET_CONFIG = "set_config"
REPEATER = {"repeater": True}


def without(model, line, **changes):
    """A device whose configuration lacks a line."""
    device = factory(model, **changes)
    assert line in device["uci"], line
    device["uci"] = device["uci"].replace(line, "", 1)
    return device


def one_interface(model):
    """A device whose guests use the first network, so that two keys write one option."""
    device = factory(model)
    head, _, rest = device["uci"].partition("config wifi-iface\n")
    device["uci"] = head + "config wifi-iface 'guest2g'\n" + rest
    return device


def lacking(model, package, **changes):
    """A device whose configuration lacks a package."""
    device = factory(model, **changes)
    packages = re.split(r"^(?=package )", device["uci"], flags=re.MULTILINE)
    kept = [text for text in packages if not text.startswith(f"package {package}\n")]
    assert len(kept) == len(packages) - 1, package
    return device | {"uci": "".join(kept)}


CHANNEL = "\toption channel '6'\n"
ENCRYPTION = "\toption encryption 'psk2'\n"
LINK = {"cloud_enable": True, "rtty_ssh": "1", "rtty_web": "1", "serverzone": "EUROPE"}

# device, route, request, key: outcome, reason, a part of the message or the suggestion
TABLE = [
    # --- Written
    ("heron", "batch_set", {"2g_ssid": "Harbour Cafe"}, "2g_ssid", "changed", None, ""),
    ("heron", "batch_set", {"2g_ssid": "aerolink-4017"}, "2g_ssid", "same", None, ""),
    ("heron", "batch_set", {"reboot_flag": "0"}, "reboot_flag", "applied", None, ""),
    ("heron", "batch_set", {"password": "abcde"}, "password", "changed", None, ""),
    ("heron", "batch_set", {"2g_channel": 11}, "2g_channel", "changed", None, ""),
    ("heron", "batch_set", {"lan_ip": "x"}, "lan_ip", "changed", None, ""),  # the ardea family checks no address
    ("heron", "batch_set", {"guest_2g_key": "x"}, "guest_2g_key", "changed", None, ""),  # the first is not checked
    ("heron", "batch_set", {"wan_proto": "pppoe"}, "wan_proto", "changed", None, ""),
    ("heron", "batch_set", {"wan_username": ""}, "wan_username", "same", None, ""),
    # --- Refused
    ("heron", "batch_set", {"2g_key": "short"}, "2g_key", "refused", "check", "8 to 63 bytes"),
    ("heron", "batch_set", {"2g_key": "x" * 64}, "2g_key", "refused", "check", "8 to 63 bytes"),
    ("heron", "batch_set", {"2g_ssid": ""}, "2g_ssid", "refused", "check", "1 to 32 bytes"),
    ("osprey", "batch_set", {"lan_ip": "x"}, "lan_ip", "refused", "check", "192.168."),
    ("heron", "batch_set", {"probe_data_path1": "x y"}, "probe_data_path1", "refused", "check", "http"),
    ("heron", "batch_set", {"2g_txpower": 20}, "2g_txpower", "refused", "level", "one of max, high, medium, low"),
    ("heron", "batch_set", {"2g_txpower": "maxx"}, "2g_txpower", "refused", "level", "one of max"),
    ("heron", "batch_set", {"password": "abcd"}, "password", "refused", "too-short", "at least 5 bytes"),
    ("heron", "batch_set", {"password": "a" * 256}, "password", "refused", "too-long", "at most 229 bytes"),
    ("heron", "batch_set", {"reboot_flag": "1" * 101}, "reboot_flag", "refused", "too-long", "at most 100 bytes"),
    ("heron", "batch_set", {"wan_proto": "a" * 512}, "wan_proto", "refused", "too-long", "at most 511 bytes"),
    ("heron", "batch_set", {"2g_ssid": None}, "2g_ssid", "refused", "type", "null"),
    ("heron", "batch_set", {"2g_txpower": ["max"]}, "2g_txpower", "refused", "type", "an array"),
    ("plover", SET_CONFIG, {"2g_htmode": "HT40", "password": "abcd"}, "password", "refused", "too-short", "5 bytes"),
    ("heron", SET_CONFIG, {"language": "abcdefgh"}, "language", "refused", "too-long", "at most 7 bytes"),
    ("heron", SET_CONFIG, {"image_url": "http://" + "a" * 300}, "image_url", "refused", "too-long", "at most 212"),
    # --- Ignored
    (factory("heron", **REPEATER), "batch_set", {"2g_channel": "11"}, "2g_channel", "ignored", "repeater", ""),
    (factory("heron", **REPEATER), "batch_set", {"2g_htmode": "HT40"}, "2g_htmode", "ignored", "repeater", ""),
    (without("heron", CHANNEL), "batch_set", {"2g_channel": "11"}, "2g_channel", "ignored", "unset",
     "wireless.wifi0.channel holds nothing yet"),
    (without("heron", CHANNEL, **REPEATER), "batch_set", {"2g_channel": "11"}, "2g_channel", "ignored", "repeater",
     "and wireless.wifi0.channel holds nothing yet"),
    (without("heron", ENCRYPTION), "batch_set", {"2g_encrytion": "none"}, "2g_encrytion", "ignored", "unset", ""),
    ("heron", SET_CONFIG, {"probe_json": "0"}, "probe_json", "ignored", "never", "never writes it"),
    (one_interface("plover"), "batch_set", {"2g_ssid": "a", "guest_2g_ssid": "b"}, "2g_ssid", "ignored", "overridden",
     "guest_2g_ssid overwrites it"),
    (one_interface("plover"), "batch_set", {"2g_ssid": "a", "guest_2g_ssid": "a"}, "2g_ssid", "changed", None, ""),
    # --- Of a configuration that lacks something
    (lacking("heron", "wireless"), "batch_set", {"2g_ssid": "x"}, "2g_ssid", "ignored", "unset",
     "there is no package wireless"),
    (lacking("plover", "wireless", **REPEATER), "batch_set", {"2g_channel": "6"}, "2g_channel", "ignored", "repeater",
     "and there is no package wireless"),
    (lacking("heron", "wireless"), SET_CONFIG, {"2g_ssid": "x"}, "2g_ssid", "ignored", "other",
     "there is no package wireless"),
    # tried, whatever the option holds
    *((model, SET_CONFIG, {key: value}, key, "ignored", "other", f"this device has no section wireless.{section}")
      for model in ("crane", "stork", "falcon", "wren")
      for key, value, section in (("2g_ssid", "x", "default_radio1"), ("2g_key", "tide-table", "default_radio1"),
                                  ("2g_disable", "1", "default_radio1"), ("2g_htmode", "HT20", "radio1"),
                                  ("5g_hidden", "1", "default_radio0"))),
    (lacking("heron", "network"), "batch_set", {"wan_proto": "dhcp"}, "wan_proto", "ignored", "other",
     "there is no package network"),
    (lacking("heron", "zuconfig"), "/router/bind_info", {"username": "x"}, "username", "ignored", "unset",
     "there is no package zuconfig"),
    (without("heron", "config wifi-iface 'guest2g'\n"), "batch_set", {"guest_2g_disable": "1"}, "guest_2g_disable",
     "ignored", "other", "this device has no section wireless.guest2g"),
    (lacking("heron", "wireless"), SET_CONFIG, {"probe_json": "0"}, "probe_json", "ignored", "never", "never writes it"),
    (lacking("generic-dual", "wireless"), "batch_set", {"5g_ssid": "x"}, "5g_ssid", "unknown", "other",
     "not with this configuration: there is no package wireless"),
    (lacking("plover", "wireless"), "batch_set", {"5g_ssid": "x"}, "5g_ssid", "unknown", "other", "not on this model"),
    # --- Unknown
    ("heron", "batch_set", {"hostnam": "x"}, "hostnam", "unknown", "other", "hostname"),
    ("heron", "batch_set", {"2g_encryption": "psk2"}, "2g_encryption", "unknown", "other", "2g_encrytion"),
    ("heron", "batch_set", {"": "x"}, "", "unknown", "other", ""),
    ("osprey", "batch_set", {"hostname": "x"}, "hostname", "unknown", "other", "not on this model"),
    ("plover", "batch_set", {"5g_ssid": "x"}, "5g_ssid", "unknown", "other", "not on this model"),
    ("heron", "batch_set", {"result": 0}, "result", "unknown", "other", "there is no such key"),
    ("heron", "batch_set", {"response": {"2g_ssid": "x"}}, "response", "unknown", "other", "a batch inside"),
    ("heron", "batch_set", {"settings": [{"2g_ssid": "a"}]}, "settings", "unknown", "other", "a batch inside"),
    ("heron", "batch_set", {"settings": {"2g_sid": "a"}}, "settings", "unknown", "other", "a batch inside"),
    ("heron", "batch_set", {"batch": '{"2g_ssid":"a"}'}, "batch", "unknown", "other", "a batch inside"),
    ("heron", "batch_set", {"batch": '{"2g_ssid":'}, "batch", "unknown", "other", "there is no such key"),
    ("heron", "batch_set", {"batch": {"zzz": 1}}, "batch", "unknown", "other", "there is no such key"),
    ("heron", "batch_set", {"batch": [[]], "x": {}}, "batch", "unknown", "other", "there is no such key"),
    ("heron", "/cloud/aerolink/set", {"zzz": "1"}, "zzz", "unknown", "other", "; the route has "),
    ("heron", "batch_set", {"2g_ssid": ["a"]}, "2g_ssid", "changed", None, "an array: stored as its JSON text"),
    ("heron", SET_CONFIG, {"customer_name": {}}, "customer_name", "applied", None, "an object: stored as its JSON text"),
    ("heron", "batch_set", {"customer_name": "x"}, "customer_name", "changed", None, ""),
    # --- The customer file, which no row of a table accounts for
    ("heron", SET_CONFIG, {"customer_name": "Quay"}, "customer_name", "applied", None, ""),
    ("osprey", SET_CONFIG, {"xwf_enable": "1"}, "xwf_enable", "applied", None, ""),
    ("osprey", SET_CONFIG, {"server_name": "x.example"}, "server_name", "changed", None, ""),
    (factory("heron", companion="installed"), SET_CONFIG, {"xwf_enable": "1", "xwf_mode": "3"}, "xwf_mode",
     "changed", None, ""),
    (factory("heron", companion="installed"), SET_CONFIG, {"xwf_mode": "3"}, "xwf_mode", "unknown", "other", ""),
    # --- Other routes
    ("heron", "log_level", {"cloud_log_level": True}, "cloud_log_level", "applied", None, ""),
    ("heron", "/router/bind_info", {"username": "u"}, "username", "changed", None, ""),
    ("heron", "/cloud/aerolink/set", LINK | {"rtty_web": "0"}, "rtty_web", "changed", None, ""),
    ("heron", "/cloud/aerolink/set", LINK | {"serverzone": "MOON"}, "serverzone", "refused", "check", "one of"),
    ("heron", "/cloud/aerolink/set", {"rtty_web": "0"}, "rtty_web", "ignored", "other", "lacks a member"),
    ("heron", "designated_customer", {"server_name": "x"}, "server_name", "ignored", "other", "lacks a member"),
    (factory("heron", internet=False), "unbind", {"unbind": 1}, "unbind", "ignored", "other", "not reachable"),
    ("heron", "batch_get", {"name": ["2g_ssid"]}, "name", "applied", None, ""),
]


class Outcomes(unittest.TestCase):
    def test_table(self):
        for device, route, request, key, outcome, reason, text in TABLE:
            with self.subTest(device=device if isinstance(device, str) else "changed", route=route, request=request):
                made = plan(request, device, route)
                said = {each["key"]: each for each in made["keys"]}[key]
                self.assertEqual((said["outcome"], said.get("reason")), (outcome, reason), said)
                self.assertIn(text, said.get("message", "") + said.get("suggestion", ""))

    def test_what_was_meant(self):
        table = [("heron", "2G_SSID", "2g_ssid"), ("heron", "LAN_IP", "lan_ip"), ("heron", "ssid", "2g_ssid"),
                 ("heron", "timezone", "system_timezone"), ("heron", "reboot", "reboot_flag"),
                 ("heron", "wan_ip", "wan_ipaddr"), ("heron", "2g_password", "2g_key"), ("heron", " 2g_ssid", "2g_ssid"),
                 ("heron", "2g_enable", None), ("heron", "wifi_password", None),
                 ("heron", "guest_ssid", "guest_2g_ssid"), ("heron", "5g_sid", "5g_ssid"), ("heron", "zzz", None),
                 ("heron", "autoupdate_enabled", "autoupdate_enable"), ("heron", "a" * 65, None)]
        for model, key, meant in table:
            with self.subTest(key=key):
                self.assertEqual(plan({key: "1"}, model)["keys"][0].get("suggestion"), meant)

    def test_what_was_meant_is_on_another_model(self):
        said = plan({"5g_sid": "x"}, "plover")["keys"][0]
        self.assertNotIn("suggestion", said)
        self.assertEqual(said["message"], "there is no such key; did you mean 5g_ssid, which this model does not take "
                                          "by this route?")

    def test_what_is_sent_already_was_not_meant(self):
        self.assertNotIn("suggestion", plan({"2g_sid": "a", "2g_ssid": "b"})["keys"][0])

    def test_every_member_once_in_its_order(self):
        request = {"hostnam": 1, "2g_ssid": "a", "password": "x", "5g_ssid": "b", "zzz": None}
        self.assertEqual([each["key"] for each in plan(request)["keys"]], list(request))

    def test_the_empty_request(self):
        made = plan({})
        self.assertEqual((made["keys"], made["changes"], made["then"]), ([], [], "notify"))

    def test_no_outcome_of_a_key_depends_on_how_another_is_asked_about(self):
        good = {"2g_ssid": "a", "2g_disable": "1", "lan_ip": "10.0.0.1"}
        bad = {"2g_key": "short", "2g_txpower": 1, "nosuch": 1}
        together = {each["key"]: each for each in plan(bad | good)["keys"]}
        for key, value in (bad | good).items():
            self.assertEqual(plan({key: value})["keys"], [together[key]])


class WhatHappens(unittest.TestCase):
    def test_a_whole_plan(self):
        made = plan({"2g_ssid": "Harbour Cafe", "2g_key": "short"})
        self.assertEqual(made["model"], "heron")
        self.assertEqual(made["route"], "/cloud/aerolink/batch_set")
        self.assertEqual((made["result"], made["response"]), (0, {"2g_key": "set false"}))
        self.assertEqual(made["changes"], [{"path": "wireless.@wifi-iface[0].ssid", "from": "aerolink-4017",
                                            "to": "Harbour Cafe"}])
        effects = [each for each in made["effects"] if each["kind"] != "log"]
        commit = [{"kind": "system", "command": "uci commit"}, {"kind": "sync"}]
        self.assertEqual(effects, [
            *commit,
            {"kind": "set", "path": "wireless.@wifi-iface[0].ssid", "value": "Harbour Cafe", "key": "2g_ssid"},
            *commit, *commit, {"kind": "fork", "command": "ubus call mqtt notify"}])
        self.assertEqual((made["then"], made["seconds"]), ("notify", 0))

    def test_the_end(self):
        self.assertEqual(plan({"reboot_flag": "1"})["then"], "reboot")
        self.assertEqual(plan({}, factory("heron", reboot_pending=True))["then"], "reboot")
        self.assertEqual(plan({}, "heron", SET_CONFIG)["then"], "restart")
        self.assertEqual(plan({"reboot_flag": "1"}, "heron", SET_CONFIG)["then"], "reboot")
        self.assertEqual(plan({}, "heron", "batch_get")["then"], "none")

    def test_how_long_the_handler_waits(self):
        asked = {"xwf_enable": "1"}
        self.assertEqual(plan(asked, "heron", SET_CONFIG)["seconds"], 35)
        self.assertEqual(plan(asked, factory("heron", companion="installed"), SET_CONFIG)["seconds"], 0)
        starting = factory("heron", companion="starting", companion_seconds=3)
        self.assertEqual(plan(asked, starting, SET_CONFIG)["seconds"], 3)
        self.assertEqual(plan({"password": "abcdefgh"})["seconds"], 1)

    def test_keys_of_a_falcon_change_sides_with_the_first_full_read(self):
        request = {"2g_ssid": "x"}
        paths = [plan(request, factory("falcon", full_read_done=done))["changes"][0]["path"] for done in (False, True)]
        self.assertEqual(paths, ["wireless.@wifi-iface[0].ssid", "wireless.@wifi-iface[1].ssid"])

    def test_a_plan_that_depends_on_the_full_read_says_so(self):
        for done, state in ((False, "not yet done"), (True, "done")):
            notes = plan({"2g_htmode": "HT40"}, factory("falcon", full_read_done=done))["notes"]
            self.assertEqual(notes, ["the keys of this model change bands with the first full read after its start; "
                                     f"this plan is for a device on which that read was {state}"])
        for device, request in (("falcon", {"hostname": "x"}), ("falcon", {"2g_key": "short"}), ("falcon", {}),
                                ("heron", {"2g_htmode": "HT40"})):
            self.assertNotIn("notes", plan(request, device))

    def test_what_was_recorded_before_is_committed_with_the_rest(self):
        device = factory("heron", files={"/tmp/.uci/network": "network.lan.proto='dhcp'\n-network.wan.ifname\n"})
        changes = plan({}, device)["changes"]
        self.assertIn({"path": "network.lan.proto", "from": "static", "to": "dhcp"}, changes)
        self.assertIn({"path": "network.wan.ifname", "from": "eth1", "to": None}, changes)

    def test_what_stays_uncommitted(self):
        made = plan(LINK | {"serverzone": "MOON", "rtty_web": "7"}, "heron", "/cloud/aerolink/set")
        self.assertEqual((made["result"], made["changes"]), (-4, []))
        self.assertIn({"path": "rtty.general.web_en", "from": "1", "to": "7"}, made["uncommitted"])

    def test_what_cannot_be_foreseen_is_said(self):
        made = plan({"reboot_flag": "`id`"})
        self.assertIn("only the router's shell could tell", made["notes"][0])
        self.assertTrue(any(each.get("unforeseen") for each in made["effects"]))
        self.assertIn("only the router's shell could tell", plan({"system_timezone": "-w"}, "wren")["notes"][0])
        self.assertNotIn("notes", plan({"system_timezone": "-"}, "wren"))  # to grep a pattern like any other
        device = factory("heron")
        del device["service_code"]
        self.assertIn("service code", plan({"password": "abcdefgh"}, device)["notes"][0])

    def test_no_play_leaves_anything_to_the_next(self):
        lines = [factory("heron", id=number, request=request) for number, request in enumerate(
            [{"2g_ssid": "a", "reboot_flag": "1"}, {"2g_key": "short"}, {}, {"2g_ssid": "a", "reboot_flag": "1"}])]
        together, _ = stream(lines)
        for line, made in zip(lines, together):
            self.assertEqual(stream([line])[0], [made])
        self.assertEqual([made["then"] for made in together], ["reboot", "notify", "notify", "reboot"])


if __name__ == "__main__":
    unittest.main()
