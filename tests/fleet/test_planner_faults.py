# SPDX-License-Identifier: Apache-2.0
"""A planner that fails on one device costs that device alone; one that cannot plan at all ends the run."""
import json
import os
import sys
import unittest
from unittest import mock

from kit import FAULTY_PLANNER as PLANNER, TOOLS, FleetTest
import worker

PROGRAM = TOOLS / "aerolink-fleet"


def devices(count, evil):
    return b"".join(json.dumps({"id": "evil" if number == evil else f"ap-{number}"}).encode() + b"\n"
                    for number in range(count))


class Faults(FleetTest):
    def planned(self, fault, count, evil):
        """Names of planned devices, and the errors of the others."""
        with mock.patch.dict(os.environ, FAULT=fault):
            lines = list(worker.planned([str(PLANNER)], b"{}", devices(count, evil)))
        self.assertEqual([position for position, _ in lines], list(range(count)))
        plans = [json.loads(line) for _, line in lines]
        return [plan["id"] for plan in plans], [plan["error"] for plan in plans if "error" in plan]

    def test_costs_one_device(self):
        for fault, error in (("crash", "the planner was ended by SIGSEGV"), ("fail", "no memory"),
                             ("torn", "the planner made no plan"), ("lose", "the planner made no plan")):
            for count, evil in ((4, 0), (4, 3), (1, 0)):
                with self.subTest(fault, count=count, evil=evil):
                    names, errors = self.planned(fault, count, evil)
                    self.assertEqual(names, [None if number == evil else f"ap-{number}" for number in range(count)])
                    self.assertEqual(errors, [error])

    def test_blank_lines_are_no_devices(self):
        text = b"\n" + devices(2, None) + b" \t\r\n" + devices(1, None) + b"\n"
        for fault in ("none", "crash"):
            with mock.patch.dict(os.environ, FAULT=fault):
                lines = list(worker.planned([str(PLANNER)], b"{}", text + devices(1, 0)))
            self.assertEqual([position for position, _ in lines], [1, 2, 4, 6])

    def test_hangs(self):
        with mock.patch.multiple(worker, SECONDS_A_CHUNK=0.5, SECONDS_A_LINE=0):
            names, errors = self.planned("hang", 4, 2)
        self.assertEqual(names, ["ap-0", "ap-1", None, "ap-3"])
        self.assertEqual(errors, ["the planner was killed, or took too long"])

    def test_too_many_plans(self):
        with mock.patch.dict(os.environ, FAULT="twice"), self.assertRaisesRegex(worker.CannotPlan, "8 plans of 7"):
            list(worker.planned([str(PLANNER)], b"{}", devices(7, 3)))

    def run_with(self, fault):
        fleet = self.file("fleet", devices(7, 3))
        words = [sys.executable, "-B", str(PROGRAM), "--devices", str(fleet), '{"lan_ip": "10.0.0.1"}']
        return self.run_command(words, env=os.environ | {"AEROLINK": str(PLANNER), "FAULT": fault})

    def test_never_starts(self):
        self.assert_refused(self.run_with("start"), "the plug-in cannot be loaded")

    def test_is_not_there(self):
        done = self.run_command([sys.executable, "-B", str(PROGRAM), "--devices", os.devnull, "{}"],
                                env={"AEROLINK": "/nowhere/aerolink"})
        self.assert_refused(done, "/nowhere/aerolink cannot be run")

    def test_prints_no_plans(self):
        for fault, said in (("no-plan", "what is no plan"), ("twice", "8 plans of 7 snapshots")):
            with self.subTest(fault):
                done = self.run_with(fault)
                self.assert_refused(done, said)
                self.assertTrue(done.stdout.startswith(b"INCOMPLETE"))


if __name__ == "__main__":
    unittest.main()
