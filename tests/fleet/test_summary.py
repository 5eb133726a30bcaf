# SPDX-License-Identifier: Apache-2.0
"""Sums of chunks: the same sum however a fleet is cut, and a small one however hostile it is."""
import json
import random
import unittest

import kit  # noqa: F401  it knows where the modules are
import summary
import worker


def plan(number, model, key, outcome):
    plan = {"id": f"ap-{number}", "model": model, "keys": [{"key": key, "outcome": outcome, "reason": "check",
            "message": f"of {number}"}], "changes": [], "then": "notify", "seconds": number % 7, "radios_on": 1}
    return {"id": f"ap-{number}", "error": f"error {key}"} if outcome == "same" else plan


def random_plans(count, models):
    draw = random.Random(count)
    return [json.dumps(plan(number, f"m{draw.randrange(models)}", f"k{draw.randrange(3)}",
                            draw.choice(summary.OUTCOMES))).encode() for number in range(count)]


def sum_of(plans, cuts):
    total = summary.empty_sum()
    for begin, end in zip([0, *cuts], [*cuts, len(plans)]):
        part = summary.empty_sum()
        for number in range(begin, end):
            worker.add_plan(part, plans[number], number, f"fleet:{number + 1}")
        summary.add(total, part)
    return json.dumps(summary.summary(total, ["k0", "k1", "k2"], "batch_set"))


class Sums(unittest.TestCase):
    def test_cuts_do_not_matter(self):
        for models in (3, 3 * summary.MOST_MODELS):
            plans = random_plans(2000, models)
            whole = sum_of(plans, [])
            for cut in (1, 7, 400):
                with self.subTest(models=models, cut=cut):
                    self.assertEqual(sum_of(plans, list(range(cut, len(plans), cut))), whole)

    def test_a_hostile_fleet_has_a_small_sum(self):
        plans = [json.dumps(plan(number, f"model {number} " * 100, "k0", "refused")).encode() for number in range(2000)]
        letters = str.maketrans("0123456789", "abcdefghij")  # messages that differ in numbers alone are one
        plans += [json.dumps({"id": "x" * 5000, "error": f"error {number}".translate(letters)}).encode()
                  for number in range(2000)]
        told = json.loads(sum_of(plans, [500, 3000]))
        self.assertEqual((told["devices"], told["planned"], told["error"]), (4000, 2000, 2000))
        self.assertEqual(len(told["models"]), summary.MOST_MODELS + 1)
        self.assertEqual(told["models"]["(others)"]["planned"], 2000 - summary.MOST_MODELS)
        self.assertEqual(len(told["errors"]), summary.MOST_ERRORS + 1)
        self.assertEqual(sum(each["devices"] for each in told["errors"]), 2000)
        self.assertLess(len(json.dumps(told)), 1_000_000)

    def test_a_device_without_an_id_is_told_by_its_place(self):
        part = worker.empty_sum()
        line = worker.add_plan(part, b'{"id": null, "error": "standard input, line 2: column 17: no JSON"}', 4,
                               "fleet:5")
        self.assertEqual(part["errors"], {"column N: no JSON": [1, [(4, "fleet:5")], None]})
        self.assertEqual(json.loads(line), {"id": None, "error": "fleet:5: column 17: no JSON"})

    def test_what_is_no_plan(self):
        for line in (b"plan", b"[]", b"{}", b'{"id": "a", "model": "heron"}', b'{"keys": []}'):
            with self.subTest(line), self.assertRaises(worker.CannotPlan):
                worker.add_plan(worker.empty_sum(), line, 0, "line 1")


if __name__ == "__main__":
    unittest.main()
