# SPDX-License-Identifier: Apache-2.0
"""The console's page, as a user works with it, on the model of the environment."""
import json
import os
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from selenium.webdriver import Keys
from selenium.webdriver.support.ui import Select

from browser import Browser
from console import AEROLINK, Console
from router import wait_for

MODEL = os.environ["ROUTER_MODEL"]
PNG = bytes.fromhex("89504e470d0a1a0a0000000d49484452000000010000000108060000001f15c4890000000d49444154789c6360f8cf"
                    "f01f0005000201c5b6a1d20000000049454e44ae426082")
VIEWS = ("Settings", "White-label", "Timeline", "World")
SSID, PASS_PHRASE = "Network name, 2.4 GHz", "Pass phrase, 2.4 GHz"
HOSTILE = ("<img src=x onerror=hit()>", "</code><script>hit()</script>", "\"'><svg onload=hit()>", "${hit()} &lt;")


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.console = Console(MODEL)
        cls.addClassCleanup(cls.console.stop)
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)
        cls.console.wait_until_booted()

    def setUp(self):
        self.browser.driver.get(self.console.address)
        self.browser.wait_for_text(MODEL, "header")
        self.browser.control(SSID)

    def tearDown(self):
        self.assertEqual(self.browser.complaints(), [])

    def ssid(self):
        names = json.loads(subprocess.run(["curl", "-s", f"{self.console.url}/cloud/aerolink/batch_get?name=2g_ssid"],
                                          capture_output=True, check=True).stdout)
        return names["response"]["2g_ssid"]

    def push(self):
        self.browser.click("Push to this router")
        self.browser.wait_for_text("Pushed:", ".plan")


class Settings(PageTest):
    def test_current_values(self):
        self.assertEqual(self.browser.control(SSID).get_attribute("value"), self.ssid())
        for group in ("2.4 GHz", "Guests", "WAN", "LAN", "System"):
            self.assertIn(group.lower(), self.browser.text(".group summary").lower())
        has_5g = "5 ghz" in self.browser.text(".group summary").lower()
        self.assertEqual(has_5g, MODEL == "heron", "only groups that the model has")

    def test_controls_are_made_from_the_vocabulary(self):
        power = Select(self.browser.control("Transmit power, 2.4 GHz"))
        words = [option.text for option in power.options]
        self.assertLessEqual({"max", "high", "medium", "low"}, set(words))
        hidden = self.browser.control("Hidden, 2.4 GHz")
        self.assertLessEqual({"yes (1)", "no (0)"}, {option.text for option in Select(hidden).options})
        self.assertEqual(self.browser.control(PASS_PHRASE).get_attribute("type"), "password")
        self.browser.click(f"Show {PASS_PHRASE}")
        self.assertEqual(self.browser.control(PASS_PHRASE).get_attribute("type"), "text")

    def test_bytes_and_check_while_typing(self):
        self.browser.write(PASS_PHRASE, "short")
        self.browser.wait_for_text("5 bytes, fails the check", ".setting.edited")
        self.browser.write(PASS_PHRASE, "ünïcödé")
        self.browser.wait_for_text("11 bytes, passes the check", ".setting.edited")

    def test_edits_become_a_request_to_copy(self):
        self.browser.write(SSID, "Joe's Café")
        self.browser.choose("Transmit power, 2.4 GHz", "medium")
        self.browser.wait_for_text("2 changed", ".plan")
        self.browser.all(".box summary")[-1].click()
        request = {"2g_ssid": "Joe's Café", "2g_txpower": "medium"}
        self.assertEqual(json.loads(self.browser.text(".json")), request)
        reply = subprocess.run(["sh", "-c", self.browser.text(".curl")], capture_output=True, text=True, check=True)
        self.assertEqual(json.loads(reply.stdout), {"result": 0, "response": {}})
        self.assertEqual(self.ssid(), "Joe's Café")

    def test_undo(self):
        before = self.browser.control(SSID).get_attribute("value")
        self.browser.write(SSID, "other")
        self.browser.click(f"Undo {SSID}")
        self.assertEqual(self.browser.control(SSID).get_attribute("value"), before)
        self.browser.wait_for_text("You have not edited anything yet", ".plan")
        self.assertEqual(self.browser.all(".setting.edited"), [])


class Plan(PageTest):
    def test_what_is_taken_and_what_is_refused_and_why(self):
        old = self.ssid()
        self.browser.write(SSID, "Harbour Cafe")
        self.browser.write(PASS_PHRASE, "short")
        self.browser.wait_for_text("1 changed, 1 refused", ".plan .sum")
        self.assertIn("8 to 63 bytes", self.browser.text(".outcomes .refused"))
        changes = self.browser.text(".changes")
        self.assertIn(old, changes)
        self.assertIn("Harbour Cafe", changes)
        self.assertNotEqual(self.ssid(), "Harbour Cafe", "nothing is sent before the push")

    def test_a_misspelled_key(self):
        self.browser.control("Key").send_keys("lan_pi", Keys.ENTER)
        self.browser.wait_for_text("Did you mean lan_ip?", ".outcomes .unknown")

    def test_commands_and_reboot(self):
        self.browser.choose("Reboot", "yes (1)")
        self.browser.wait_for_text("The router reboots.", ".plan .sum")
        self.browser.all(".box summary")[0].click()
        self.assertIn("reboot", self.browser.text(".effects"))

    def test_matrix_of_all_models(self):
        self.browser.write(SSID, "Harbour Cafe")
        self.browser.control("Key").send_keys("2g_kee", Keys.ENTER)
        self.browser.click("Compare with all models")
        models = self.console.get("/api/router")["models"]
        wait_for("all cells", lambda: len(self.browser.all(".matrix td")) == 2 * len(models))
        cell = self.browser.button(f"2g_kee on {models[3]}: unknown", ".matrix")
        self.assertEqual(self.browser.text(".tip"), "\n" * (len(models) - 1), "reasons show when asked for")
        self.browser.driver.execute_script("arguments[0].focus()", cell)
        self.browser.wait_for_text("did you mean 2g_key?", ".tip")
        self.browser.button(f"2g_ssid on {MODEL}: changed", ".matrix")


class Push(PageTest):
    def test_plan_and_reality_side_by_side(self):
        name = f"Harbour {time.time():.0f}"
        self.browser.write(SSID, name)
        self.browser.write(PASS_PHRASE, "short")
        self.browser.write("LAN address", "192.168.70.1")
        self.browser.wait_for_text("1 refused", ".plan .sum")
        self.push()
        self.assertIn("everything happened as planned", self.browser.text(".banner"))
        planned, happened = (table.text for table in self.browser.all(".side .changes tbody"))
        self.assertEqual(planned, happened)
        self.assertIn(name, happened)
        self.assertEqual(self.ssid(), name)
        self.assertEqual(self.browser.control(SSID).get_attribute("value"), name)

    def test_every_setting_of_the_model_at_once(self):
        """Whatever the vocabulary gives as examples: the router does what the plan says."""
        keys = self.console.get("/api/keys?route=/cloud/aerolink/batch_set")
        meanings = json.loads(subprocess.run([AEROLINK, "keys", "--json"], capture_output=True, check=True).stdout)
        examples = {row["name"]: row["example"] for row in meanings["keys"]}
        request = {row["key"]: examples[row["key"]] for row in keys if row["key"] != "reboot_flag"}
        self.assertGreater(len(request), 20)
        status, answer = self.console.post("/api/push", {"route": "/cloud/aerolink/batch_set", "request": request})
        self.assertEqual((status, answer["faults"]), (200, []))

    def test_values_are_never_markup(self):
        self.browser.driver.execute_script("window.hit = () => { window.was_hit = true; }")
        for text in HOSTILE:
            self.browser.write(SSID, text)
            self.browser.wait_for_text(text, ".changes")
            self.push()
            self.assertIn(text, self.browser.text(".changes"))
        self.console.shell("logger -t '<b>x</b>' '<img src=x onerror=hit()>'")
        self.browser.view("Timeline")
        self.browser.wait_for_text("<b>x</b>: <img src=x onerror=hit()>", ".events")
        self.assertIn(HOSTILE[1], self.browser.text(".events"))
        self.assertEqual(self.browser.all("img, svg, script:not([src]), main b"), [])
        self.assertIsNone(self.browser.driver.execute_script("return window.was_hit"))


@unittest.skipUnless(MODEL == "heron", "once is enough")
class Fault(unittest.TestCase):
    def test_a_difference_from_the_plan_is_shown(self):
        with tempfile.TemporaryDirectory() as folder:
            liar = Path(folder, "aerolink")
            lie = """sed -u 's/"to": "Quay"/"to": "Pier"/'"""
            liar.write_text(f'#!/bin/sh\n"{AEROLINK}" "$@" | {lie}\n', encoding="ascii")
            liar.chmod(0o755)
            console = Console(MODEL, aerolink=liar)
            self.addCleanup(console.stop)
            console.wait_until_booted()
            browser = Browser()
            self.addCleanup(browser.close)
            browser.driver.get(console.address)
            browser.write(SSID, "Quay")
            browser.wait_for_text("Pier", ".changes")
            browser.click("Push to this router")
            browser.wait_for_text("1 difference between plan and reality", ".banner.bad")
            row = browser.text(".faults tbody")
            self.assertIn("→ Pier", row)
            self.assertIn("→ Quay", row)


class Timeline(PageTest):
    def texts(self):
        return self.browser.text(".event").lower()

    def kinds(self):
        return {badge.text for badge in self.browser.all(".event .badge")}

    def test_one_list_in_true_order(self):
        marker = f"Order {time.time()}"
        self.console.post("/api/push", {"route": "/cloud/aerolink/batch_set", "request": {"2g_ssid": marker}})
        self.browser.view("Timeline")
        self.browser.wait_for_text(marker, ".events")
        self.assertEqual(self.kinds(), {"request", "change", "command", "journal", "log"})
        times = [element.get_attribute("datetime") for element in self.browser.all(".event time")]
        self.assertEqual(times, sorted(times, reverse=True), "newest first")
        rows = [row for row in self.browser.text(".event").split("\n")]
        first = max(index for index, row in enumerate(rows) if "POST /cloud" in row and marker in row)
        change = max(index for index, row in enumerate(rows) if f"→ {marker}" in row)
        notify = next(index for index, row in enumerate(rows) if row == "ubus call mqtt notify")
        self.assertLess(notify, change)
        self.assertLess(change, first)

    def test_filters(self):
        self.browser.view("Timeline")
        wait_for("events", lambda: len(self.kinds()) > 3)
        for name in ("requests", "UCI changes", "commands", "log"):
            next(box for box in self.browser.all(".check") if box.text == name).click()
        wait_for("the journal alone", lambda: self.kinds() == {"journal"})
        self.browser.all(".search input")[0].send_keys("ZU_MQTT")
        wait_for("what has the text", lambda: set(self.texts().split("\n")) >= {"/etc/init.d/zu_mqtt boot"})
        self.assertNotIn("network boot", self.texts())

    def test_secrets_are_hidden_until_asked_for(self):
        secret = "correct horse 4017"
        self.console.post("/api/push", {"route": "/cloud/aerolink/batch_set",
                                        "request": {"2g_key": secret, "password": secret}})
        self.browser.view("Timeline")
        self.browser.wait_for_text("••••••", ".events")
        self.assertNotIn(secret, self.browser.driver.page_source)
        self.browser.all(".search input")[0].send_keys("horse")
        wait_for("nothing found", lambda: not self.browser.all(".event"))
        self.browser.click("Show secrets")
        self.browser.wait_for_text(secret, ".events")
        self.assertIn("passwd root", self.browser.text(".events"), "commands with it too")

    def test_a_running_handler_and_a_restart(self):
        self.browser.view("World")
        self.browser.choose_companion("starts after", 4)
        waiting = subprocess.Popen(["curl", "-s", f"{self.console.url}/whiteboard/set_config", "-H",
                                    "Content-Type: application/json", "-d", '{"xwf_enable": "1"}'],
                                   stdout=subprocess.DEVNULL)
        self.browser.wait_for_text("/whiteboard/set_config has been running for 2.", ".running")
        self.assertRegex(self.browser.text(".running"), r"of which [123] s were spent waiting")
        self.browser.view("Timeline")
        self.browser.wait_for_text("runs for 3.", ".events")
        self.assertEqual(waiting.wait(), 0)
        wait_for("its end", lambda: not self.browser.all(".running"))
        self.assertRegex(self.browser.text(".events"), "waits 1 s × [45]")
        self.browser.view("World")
        boots = self.console.journal().count("Z boot\n")
        self.browser.click("Reboot")
        self.console.wait_until_booted(boots + 1)
        self.browser.view("Timeline")
        wait_for("the restart", lambda: len(self.browser.all(".event.boot")) == boots + 1)
        self.assertIn("/whiteboard/set_config", self.browser.text(".events"), "what was before the restart is there")
        self.console.shell("logger -t test 'after the restart'")
        self.browser.wait_for_text("after the restart", ".events")
        self.console.shell("rm -f /etc/config/xwf")


class World(PageTest):
    def setUp(self):
        super().setUp()
        self.browser.view("World")
        self.browser.button("Repeater uplink")

    def fact(self, name):
        return self.console.shell(f"cat /etc/device/{name} 2>/dev/null || true").strip()

    def test_repeater(self):
        self.browser.click("Repeater uplink")
        wait_for("the uplink", lambda: self.fact("repeater") == "1")
        self.browser.view("Settings")
        self.browser.write("Channel, 2.4 GHz", "11")
        self.browser.wait_for_text("repeater", ".outcomes")
        self.browser.view("World")
        self.browser.click("Repeater uplink")
        wait_for("no uplink", lambda: self.fact("repeater") == "0")

    def test_internet(self):
        self.browser.click("Internet")
        wait_for("no internet", lambda: "up" not in self.fact("ping"))
        unbound = subprocess.run(["curl", "-s", f"{self.console.url}/cloud/aerolink/unbind", "-H",
                                  "Content-Type: application/json", "-d", '{"unbind":1}'], capture_output=True, check=True)
        self.assertEqual(json.loads(unbound.stdout)["result"], -24)
        self.browser.wait_for_text("not reachable", ".card")
        self.browser.click("Internet")
        wait_for("the internet", lambda: "down" not in self.fact("ping"))

    def test_companion(self):
        self.browser.choose_companion("installed")
        wait_for("its package", lambda: "config xwf" in self.console.shell("cat /etc/config/xwf || true"))
        self.browser.choose_companion("starts after", 7)
        wait_for("its delay", lambda: self.fact("xwf_delay") == "7")
        self.browser.choose_companion("absent")
        wait_for("nothing of it", lambda: self.fact("xwf_delay") == "")

    def test_full_disk(self):
        self.browser.click("Full disk")
        wait_for("no room", lambda: "100%" in self.console.shell("df /tmp"))
        self.browser.wait_for_text("full", "#switch-full_disk")
        self.browser.click("Full disk")
        wait_for("room", lambda: "100%" not in self.console.shell("df /tmp"))

    def test_log_flood(self):
        self.browser.click("Flood the log")
        self.browser.wait_for_text("2000 lines are in the log.", ".world")
        self.browser.view("Timeline")
        self.browser.wait_for_text("flood: line 2000 of 2000", ".events")

    def test_factory_reset(self):
        fresh = self.console.get("/api/settings?route=/cloud/aerolink/batch_get&name=hostname&name=guest_2g_ssid")
        self.console.shell("uci set wireless.guest2g.ssid=changed; uci commit")
        boots = self.console.journal().count("Z boot\n")
        self.browser.click("Reset")
        self.console.wait_until_booted(boots + 1)
        self.assertEqual(self.console.get("/api/settings?route=/cloud/aerolink/batch_get&name=hostname"
                                          "&name=guest_2g_ssid")["guest_2g_ssid"].endswith("guest"), True, fresh)


class WhiteLabel(PageTest):
    def test_provisioning(self):
        self.console.shell("mkdir -p /etc/device/internet/harbour.example")
        octal = "".join(f"\\{byte:03o}" for byte in PNG)
        self.console.shell(f"printf '{octal}' >/etc/device/internet/harbour.example/logo.png")
        self.browser.view("White-label")
        self.browser.wait_for_text("There is no logo.", ".brand")
        self.browser.write("Customer", "Harbour <b>Hotels</b>")
        self.browser.write("Logo", "https://harbour.example/logo.png")
        self.browser.wait_for_text("2 ", ".plan .sum")
        self.push()
        self.assertIn("everything happened as planned", self.browser.text(".banner"))
        self.browser.view("Settings")
        self.browser.view("White-label")
        self.browser.wait_for_text("customer_name=Harbour <b>Hotels</b>", "#customer-file")
        wait_for("the logo", lambda: self.browser.driver.execute_script(
            "const logo = document.querySelector('.logo'); return logo?.complete && logo.naturalWidth === 1"))


class Access(PageTest):
    def test_with_the_keyboard_alone(self):
        self.browser.keys(Keys.TAB)
        self.assertEqual(self.browser.focused().text, "Skip to the content")
        self.browser.keys(Keys.ENTER)
        self.assertEqual(self.browser.focused().get_attribute("id"), "main")
        self.tab_to("settings-2g_ssid")
        self.browser.keys(Keys.END, *[Keys.BACKSPACE] * 32, "By hand")
        self.browser.wait_for_text("1 changed", ".plan")
        for _ in range(400):
            self.browser.keys(Keys.TAB)
            if self.browser.focused().text == "Push to this router":
                break
        self.browser.keys(Keys.ENTER)
        self.browser.wait_for_text("Pushed:", ".plan")
        self.assertEqual(self.ssid(), "By hand")

    def tab_to(self, identity):
        for _ in range(40):
            self.browser.keys(Keys.TAB)
            if self.browser.focused().get_attribute("id") == identity:
                return
        self.fail(f"{identity} cannot be reached")

    def fill(self):
        """Something to see everywhere."""
        self.browser.view("Settings")
        self.browser.write(SSID, "A very long name that fills a narrow page " + "x" * 40)
        self.browser.wait_for_text("refused", ".plan")
        self.browser.click("Compare with all models")
        self.browser.wait_for_text("The same request on every model", "main")

    def test_fits_a_narrow_page(self):
        self.browser.resize(360, 740)
        self.addCleanup(self.browser.resize, 1280, 900)
        self.fill()
        for view in VIEWS:
            self.browser.view(view)
            self.assertLessEqual(self.browser.driver.execute_script("return document.documentElement.scrollWidth"), 360,
                                 view)

    def test_accessibility(self):
        axe = Path(os.environ["AXE"]).read_text(encoding="utf-8")
        self.fill()
        self.browser.driver.execute_script(axe)
        for scheme in ("light", "dark"):
            self.browser.prefer(scheme)
            for view in VIEWS:
                self.browser.view(view)
                time.sleep(0.3)
                found = self.browser.driver.execute_async_script("axe.run().then(arguments[0])")
                self.assertGreater(len(found["passes"]), 10)
                self.assertEqual([(rule["id"], rule["nodes"][0]["html"], rule["nodes"][0]["failureSummary"])
                                  for rule in found["violations"]], [], f"{view}, {scheme}")


if __name__ == "__main__":
    unittest.main()
