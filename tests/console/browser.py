# SPDX-License-Identifier: Apache-2.0
"""Chromium for a test: headless, with a profile of its own, on loopback."""
import tempfile

from selenium.common.exceptions import StaleElementReferenceException
from selenium.webdriver import ActionChains, Chrome, Keys
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import Select

from router import wait_for

ARGUMENTS = ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync", "--lang=en",
             "--force-device-scale-factor=1")


class Browser:
    def __init__(self, width=1280, height=900):
        self.profile = tempfile.TemporaryDirectory(prefix="chromium-", ignore_cleanup_errors=True)
        options = Options()
        for argument in (*ARGUMENTS, f"--user-data-dir={self.profile.name}"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = Chrome(options=options, service=Service("/usr/bin/chromedriver"))
        self.driver.set_script_timeout(60)
        self.resize(width, height)

    def close(self):
        self.driver.quit()
        self.profile.cleanup()

    def resize(self, width, height):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                    {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})

    def prefer(self, scheme):
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                    {"features": [{"name": "prefers-color-scheme", "value": scheme}]})

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def text(self, selector="body"):
        """What a reader sees of the elements."""
        while True:
            try:
                return "\n".join(element.text for element in self.all(selector))
            except StaleElementReferenceException:
                continue

    def wait_for_text(self, text, selector="body"):
        wait_for(f"{text!r} in {selector}; there is:\n{self.text(selector)}\n", lambda: text in self.text(selector))

    def view(self, name):
        """Goes to a view by its link in the head."""
        self.driver.find_element(By.LINK_TEXT, name).click()
        wait_for(f"the view {name}", lambda: self.text("nav [aria-current]") == name)

    def button(self, name, within=""):
        """The button of that name, as it is read out."""
        return wait_for(f"the button {name}", lambda: next(
            (button for button in self.all(f"{within} button") if name in (button.text, button.accessible_name)), None))

    def click(self, name, within=""):
        self.button(name, within).click()

    def control(self, label):
        """The control of a label; unfolds the group that it is in."""
        def look():
            return self.driver.execute_script("""
                const label = [...document.querySelectorAll("label")].find(
                    (each) => each.firstChild.data === arguments[0]);
                const control = label && document.getElementById(label.htmlFor);
                const group = control?.closest("details");
                if (group) group.open = true;
                return control;""", label)
        return wait_for(f"the control {label}", look)

    def write(self, label, text):
        """Types into a control what it shall hold."""
        field = self.control(label)
        field.send_keys(Keys.CONTROL + "a")
        field.send_keys(text or Keys.DELETE)

    def choose(self, label, word):
        Select(self.control(label)).select_by_visible_text(word)

    def choose_companion(self, words, seconds=None):
        Select(wait_for("the companion", lambda: self.all("#companion"))[0]).select_by_visible_text(words)
        if seconds is not None:
            field = wait_for("its seconds", lambda: self.all("#companion-seconds"))[0]
            field.send_keys(Keys.CONTROL + "a")
            field.send_keys(str(seconds), Keys.ENTER)

    def keys(self, *keys):
        for key in keys:
            ActionChains(self.driver).send_keys(key).perform()

    def focused(self):
        return self.driver.switch_to.active_element

    def complaints(self):
        """What the browser itself found wrong."""
        return [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] in ("SEVERE", "WARNING")]
