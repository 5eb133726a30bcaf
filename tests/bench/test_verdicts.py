# SPDX-License-Identifier: Apache-2.0
"""Whether a missed goal is seen, and whether the document has a place for every table."""
import re
import subprocess
import sys
import unittest
from pathlib import Path

from measures import document, goals
from measures.inside import SETTINGS
from measures.samples import Sample, Samples, in_turn, run_once

ROOT = Path(__file__).resolve().parents[2]


def samples(case, **processor_seconds):
    made = Samples()
    for name, seconds in processor_seconds.items():
        for one in seconds:
            made.add(case, name, Sample(2 * one, one))
    return made


class LogRound:
    """A round of the large log with figures of its own."""

    def __init__(self, kib, response_kib, seconds):
        self.kib, self.response_kib, self.of_handler = kib, response_kib, seconds

    def memory(self, name):
        return self.kib if name == "plug-in" else self.response_kib

    def seconds(self):
        return self.of_handler


def measured(**changed):
    """The figures of a run in which every goal is met, but for those given."""
    given = {"plugin": 0.0105, "script": 0.06, "read": 0.0014, "kib": 110_000, "seconds": 0.4, "show": 0.01,
             "batch": 0.3, "commit": 0.01} | changed
    log = {lines: [LogRound(given["kib"] * lines / 1e6, 100_000 * lines / 1e6, 0.4 * lines / 1e6)]
           for lines in (10_000, 100_000)}
    log[1_000_000] = [LogRound(given["kib"], 100_000, given["seconds"])]
    return goals.values(
        samples("51", plugin=[given["plugin"]], hand=[0.01], script=[given["script"]]),
        samples("read", plugin=[given["read"]], command=[0.001]), log,
        samples("uci", sort=[0.0023], show=[given["show"]], batch=[given["batch"]], commit=[given["commit"]]))


class Verdicts(unittest.TestCase):
    def test_a_good_run_misses_nothing(self):
        self.assertEqual(goals.missed(measured()), [])

    def test_each_goal_can_be_missed(self):
        worse = {"push-hand": {"plugin": 0.0125, "script": 0.08}, "push-script": {"script": 0.045},
                 "read-command": {"read": 0.0017}, "log-memory": {"kib": 140_000},
                 "log-time-growth": {"seconds": 0.7}, "uci-show": {"show": 0.018}, "uci-batch": {"batch": 1.2},
                 "uci-commit": {"commit": 0.018}}
        texts = {goal.name: goal.text for goal in goals.GOALS}
        for name, changed in worse.items():
            with self.subTest(goal=name):
                lines = goals.missed(measured(**changed))
                self.assertEqual([line.partition(":")[0] for line in lines], [texts[name]])
        self.assertEqual(set(texts) - set(worse), {"log-memory-growth"}, "goals that nothing here misses")

    def test_memory_that_grows_faster_than_the_log(self):
        run = measured(kib=100_000)
        run["log-memory-growth"] = 1.3
        self.assertEqual(len(goals.missed(run)), 1)

    def test_what_was_not_measured_is_missed(self):
        run = measured()
        del run["push-hand"]
        self.assertEqual(len(goals.missed(run)), 1)

    def test_a_margin_is_no_change_of_the_goal(self):
        goal = next(goal for goal in goals.GOALS if goal.name == "push-hand")
        self.assertFalse(goal.holds(1.15))
        self.assertTrue(goal.holds(1.15, goal.margin))
        self.assertIn("no, by 5 %", document.goals(measured(plugin=0.01155)))


class Measuring(unittest.TestCase):
    def test_a_ratio_is_of_the_same_round(self):
        made = samples("push", plugin=[1, 10, 100], hand=[1, 5, 100])
        self.assertEqual(made.ratio("push", "plugin", "hand"), 1)
        with self.assertRaises(ValueError):
            samples("push", plugin=[1, 2], hand=[1]).ratio("push", "plugin", "hand")

    def test_contenders_take_turns(self):
        order = []
        made = Samples()
        in_turn(made, "case", 2, {name: lambda name=name: order.append(name) or Sample(1, 1) for name in "ab"})
        self.assertEqual("".join(order), "abbaab")
        self.assertEqual(len(made.rounds["case", "a"]), 2, "without the first round")

    def test_work_of_a_processor_is_counted(self):
        busy = run_once([sys.executable, "-c", "sum(range(3_000_000))"])
        idle = run_once(["sleep", "0.3"])
        self.assertGreater(busy.processor, 5 * idle.processor)
        self.assertGreater(idle.wall, 0.3)
        with self.assertRaises(RuntimeError):
            run_once(["false"])

    def test_the_push_has_51_settings(self):
        self.assertEqual(len(SETTINGS), 51)


class Document(unittest.TestCase):
    TEXT = (ROOT / "docs/performance.md").read_text(encoding="utf-8")

    def test_every_block_has_a_place_and_a_figure(self):
        blocks = re.findall(r"<!-- ([a-z ]+) -->\n(.*?)<!-- end -->", self.TEXT, re.DOTALL)
        source = (ROOT / "bench/performance").read_text(encoding="utf-8")
        written = re.findall(r'"([a-z ]+)": document\.', source)
        self.assertEqual(sorted(name for name, _ in blocks), sorted(written))
        for name, content in blocks:
            self.assertRegex(content, r"\d", name)

    def test_plots_are_there_and_said_in_words(self):
        plots = re.findall(r"!\[([^\]]+)\]\((performance/[a-z]+\.svg)\)", self.TEXT)
        self.assertEqual({path for _, path in plots},
                         {f"performance/{path.name}" for path in (ROOT / "docs/performance").iterdir()})
        for alternative, path in plots:
            self.assertGreater(len(alternative), 60, path)

    def test_a_block_without_a_place_is_refused(self):
        with self.assertRaises(ValueError):
            document.put(self.TEXT, {"nonsense": "x\n"})

    def test_wrong_use_is_refused(self):
        done = subprocess.run([sys.executable, "-B", ROOT / "bench/performance", "--nonsense"], capture_output=True,
                              text=True, check=False)
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("usage:", done.stderr)


if __name__ == "__main__":
    unittest.main()
