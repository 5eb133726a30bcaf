# SPDX-License-Identifier: Apache-2.0
"""Ten thousand devices: the summary's numbers are those counted from the plans, and do not depend on how it was run."""
import json
import re
import unittest
from collections import Counter

from kit import PUSH, FleetTest, sample

DEVICES = 10_000


def does_something(plan):
    return plan["changes"] or plan.get("uncommitted") or any(key["outcome"] == "applied" for key in plan["keys"])


class Counts(FleetTest):
    @classmethod
    def setUpClass(cls):
        cls.devices = sample(DEVICES, seed=3)

    def test_summary_is_what_the_plans_say(self):
        told = self.told("--devices", self.file("fleet", self.devices), "--plans", "plans")
        plans = [json.loads(line) for line in (self.folder / "plans").read_bytes().splitlines()]
        self.assertEqual(len(plans), DEVICES)
        self.compare(told, plans)

    def test_number_of_processes_does_not_matter(self):
        some = self.file("some", b"".join(self.devices.splitlines(keepends=True)[:1500]))
        wanted = self.fleet("-j1", "--devices", some, "--plans", "plans-of-one")
        self.assertEqual(self.fleet("-j3", "--devices", some, "--plans", "plans-of-three"), wanted)
        self.assertEqual((self.folder / "plans-of-three").read_bytes(), (self.folder / "plans-of-one").read_bytes())

    def compare(self, told, plans):
        good = [plan for plan in plans if "error" not in plan]
        self.assertGreater(len(good), DEVICES * 0.99)
        self.assertEqual((told["devices"], told["planned"], told["error"]),
                         (DEVICES, len(good), DEVICES - len(good)))
        self.assertEqual({each["message"]: each["devices"] for each in told["errors"]},
                         Counter(re.sub(r"(?<![\w-])\d+\b", "N", plan["error"].partition(f"fleet:{place}: ")[2])
                                 for place, plan in enumerate(plans, 1) if "error" in plan))
        self.compare_group(told, good)
        self.assertEqual({model: group["planned"] for model, group in told["models"].items()},
                         Counter(plan["model"] for plan in good))
        for model, group in told["models"].items():
            with self.subTest(model):
                self.compare_group(group, [plan for plan in good if plan["model"] == model])
        slowest = max(good, key=lambda plan: plan["seconds"])  # the first of several
        self.assertEqual(told["slowest"], {name: slowest[name] for name in ("seconds", "id", "model")})

    def compare_group(self, told, plans):
        self.compare_fact(told["changed"], [plan for plan in plans if does_something(plan)])
        self.compare_fact(told["unchanged"], [plan for plan in plans if not does_something(plan)])
        for outcome in ("refused", "ignored", "unknown"):
            self.compare_fact(told[outcome], [plan for plan in plans
                                              if any(key["outcome"] == outcome for key in plan["keys"])])
        for end in ("reboot", "restart"):
            self.compare_fact(told[end], [plan for plan in plans if plan["then"] == end])
        self.compare_fact(told["lan_address_changed"], [
            plan for plan in plans if any(change["path"] == "network.lan.ipaddr" for change in plan["changes"])])
        self.compare_fact(told["no_radio"], [plan for plan in plans if plan["radios_on"] == 0])
        self.assertEqual(list(told["keys"]), list(PUSH))
        counted = Counter((key["key"], key["outcome"], key.get("reason")) for plan in plans for key in plan["keys"])
        self.assertEqual({(key, outcome, each.get("reason")): each["devices"] for key, outcomes in told["keys"].items()
                          for outcome, reasons in outcomes.items() for each in reasons}, counted)
        examples = {}
        for plan in plans:
            for key in plan["keys"]:
                examples.setdefault((key["key"], key["outcome"], key.get("reason")), []).append(plan["id"])
        for (key, outcome, reason), ids in examples.items():
            row = next(each for each in told["keys"][key][outcome] if each.get("reason") == reason)
            self.assertEqual(row["examples"], ids[:3])

    def compare_fact(self, told, plans):
        self.assertEqual(told, {"devices": len(plans), "examples": [plan["id"] for plan in plans[:3]]})


if __name__ == "__main__":
    unittest.main()
