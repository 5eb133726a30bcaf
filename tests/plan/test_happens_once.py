# SPDX-License-Identifier: Apache-2.0
"""What the random requests leave out: a reboot that happens, the time that a handler takes, what shells write."""
import json
import os
import unittest
from pathlib import Path
from unittest import mock

from strategies import BATCH_SET, SET_CONFIG, Request, State
from tested_router import TestedRouter, wait_for

ECHOED = Path(__file__).resolve().parents[1] / "rehearsal/echoed.json"
IS_NIGHTLY = "PLAN_EXAMPLES" in os.environ


class Once(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tested = TestedRouter("linnet")
        cls.addClassCleanup(cls.tested.stop)

    def setUp(self):
        self.tested.set_state(State())

    def timed(self, request):
        """The seconds that the request is planned to take, and took."""
        plan = self.tested.plan(request)
        _, calls = self.tested.send(request.route, request.members)
        return plan["seconds"], self.tested.seconds, calls

    def test_a_password_takes_a_second(self):
        planned, taken, _ = self.timed(Request(BATCH_SET, {"password": "new password"}))
        self.assertEqual(planned, 1)
        self.assertGreaterEqual(taken, 1)
        planned, taken, _ = self.timed(Request(BATCH_SET, {"password": "four"}))
        self.assertEqual(planned, 0)
        self.assertLess(taken, 1)

    def test_the_router_writes_what_the_stage_writes(self):
        for value, written in json.loads(ECHOED.read_text(encoding="utf-8")):
            with self.subTest(value=value):
                self.tested.send(BATCH_SET, {"reboot_flag": value})
                if written is not None:
                    self.assertEqual(self.tested.observe().files["/tmp/reboot_flag"], written)

    @unittest.skipUnless(IS_NIGHTLY, "takes 35 seconds")
    def test_a_companion_that_never_comes_is_waited_for(self):
        with mock.patch("router.PATIENCE", 60):
            planned, taken, calls = self.timed(Request(SET_CONFIG, {"xwf_enable": "1"}))
        self.assertEqual(planned, 35)
        self.assertEqual([kind for kind, _ in calls].count("sleep"), 35)
        self.assertGreaterEqual(taken, 35)

    def test_what_is_forked_reaches_the_firmware(self):
        def journaled(call):
            return self.tested.router.journal().count(call)

        notified, restarted = ["ubus", "call", "mqtt", "notify"], ["/etc/init.d/network", "restart"]
        before = journaled(notified), journaled(restarted)
        for request, end in ((Request(BATCH_SET, {"2g_ssid": "a"}), "notify"), (Request(SET_CONFIG, {}), "restart")):
            self.assertEqual(self.tested.plan(request)["then"], end)
            self.tested.send(request.route, request.members)
        wait_for("the notification", lambda: journaled(notified) == before[0] + 1)
        wait_for("the restart", lambda: journaled(restarted) == before[1] + 1)


class Reboot(unittest.TestCase):
    def test_a_planned_reboot_happens(self):
        tested = TestedRouter("linnet", reboots=True)
        self.addCleanup(tested.stop)
        request = Request(BATCH_SET, {"reboot_flag": "1", "2g_ssid": "kept"})
        self.assertEqual(tested.plan(request)["then"], "reboot")
        boots = tested.router.boots()
        tested.send(request.route, request.members)
        wait_for("the reboot", lambda: tested.router.boots() == boots + 1)
        tested.router.wait_until_booted()
        self.assertIn("kept", tested.observe().committed.values())


if __name__ == "__main__":
    unittest.main()
