# SPDX-License-Identifier: Apache-2.0
"""The law of an export: pushed to where it came from it changes nothing; pushed after other pushes it restores all that it
did not list.

What a push does is taken from `aerolink plan`, which tests/plan holds against a real box; the configuration is kept by
the kit's `uci`.
"""
import json
import os
import unittest

from device import Device, Planner, aerolink
from hypothesis import HealthCheck, given, note, seed, settings
from hypothesis import strategies as st

MODELS = [json.loads(line)["model"] for line in aerolink("snapshot").splitlines()]
EXAMPLES = int(os.environ.get("AEROLINK_EXAMPLES", "3"))  # of each model

# Values for any key: some key accepts each, and an option may hold any. None is empty, as a push that empties an option
# takes it away for good.
WORDS = ["0", "1", "6", "17", "23", "27", "100", "auto", "none", "psk2", "psk-mixed", "HT20", "HT40", "VHT20", "VHT40",
         "VHT80", "max", "high", "medium", "low", "10.9.8.7", "300.1.1", "Berlin", "Europe/Berlin", "UTC", "EN", "cn",
         "https://a.example/b", "ftp://a.example/c", "eight or more", "short", "it's", "dhcp", "s" * 33, "k" * 63,
         "v" * 511, "11axg", "11ng", "\u4e2d\u6587"]
TEXTS = st.text(st.characters(min_codepoint=32, max_codepoint=0x2fff, blacklist_categories=("Cs", "Cc")), min_size=1,
                max_size=12)
VALUES = st.one_of(st.sampled_from(WORDS), TEXTS)


class Law(unittest.TestCase):
    def setUp(self):
        self.planner = Planner()
        self.addCleanup(self.planner.close)

    def test_a_push_of_it_changes_nothing_and_restores_the_rest(self):
        for model in MODELS:
            with self.subTest(model):
                self.hold(model)

    def hold(self, model):
        @seed(20)
        @settings(max_examples=EXAMPLES, deadline=None, database=None,
                  suppress_health_check=[HealthCheck.too_slow, HealthCheck.data_too_large])
        @given(data=st.data())
        def law(data):
            self.check(model, data)

        law()

    def check(self, model, data):
        facts = {"repeater": data.draw(st.booleans(), "repeater"),
                 "full_read_done": data.draw(st.booleans(), "full read done")}
        with Device(model, self.planner, facts) as device:
            self.unsettle(device, data)
            before = device.options()
            export = device.export()
            note(f"export: {export}")
            self.assertEqual(device.push(export["batch"])["changes"], [])
            keys = sorted(set(export["batch"]) | {lost["key"] for lost in export["lost"]} - {""})
            pushes = st.lists(st.dictionaries(st.sampled_from(keys), VALUES, min_size=1, max_size=10), min_size=1, max_size=3)
            for request in data.draw(pushes, "pushes"):
                device.push(request)
            device.push(export["batch"])
            after = device.options()
            lost = {device.resolve(each["path"]) for each in export["lost"]}
            differing = {path: (before.get(path), after.get(path)) for path in before.keys() | after.keys()
                         if before.get(path) != after.get(path) and path not in lost}
            self.assertEqual(differing, {})

    def unsettle(self, device, data):
        """Gives options another value, makes lists of them, or takes them away."""
        options = sorted(path for path in device.options() if path.count(".") == 2)
        for path in data.draw(st.lists(st.sampled_from(options), max_size=6, unique=True), "options"):
            value = data.draw(st.one_of(st.none(), VALUES), path)
            device.set(path, value)
            if value is not None and data.draw(st.integers(0, 7), "list?") == 7:
                device.uci("add_list", f"{path}=more")
                device.uci("commit", path.split(".")[0])


if __name__ == "__main__":
    unittest.main()
