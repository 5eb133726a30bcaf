# SPDX-License-Identifier: Apache-2.0
"""A plan is what happens: random requests are planned from a router's own state and then sent to it.

What cannot be compared: the plug-in's log, which the router's syslog cuts and escapes; calls that only ask (reading an
option, looking for a file), which the daemon does not record; the account's password; and what the firmware's programs
make of a forked command, so commands are compared as they are started. No NUL is sent: to all of this software a text
ends there. A reboot is kept from happening; test_happens_once lets one.
"""
import json
import os
import unittest

from hypothesis import HealthCheck, Verbosity, given, note, settings

import strategies
from tested_router import TestedRouter
from uci_show import resolve

MODEL = os.environ.get("ROUTER_MODEL", "heron")
EXAMPLES = int(os.environ.get("PLAN_EXAMPLES", "5"))
IS_NIGHTLY = "PLAN_EXAMPLES" in os.environ
SMALL_EXAMPLES = 12  # Hypothesis begins with about as many that say next to nothing, whatever is asked for

# What the daemon's record has of a call; a planned effect has the same under the same names.
MEMBERS = {"set": ("path", "value"), "delete": ("path",), "commit": ("package",), "iwpriv": ("interface", "parameter", "value"),
           "sleep": ("seconds",), "sync": (), "dispatch": ("path",)}
UNRECORDED = ("log", "write", "open")
OF_THE_FIRMWARE = {"xwf.general.enable"}  # what its own programs write: they set up the companion


def planned_calls(plan):
    return [(effect["kind"],) + tuple(str(effect[name]) for name in MEMBERS.get(effect["kind"], ("command",)))
            for effect in plan["effects"] if effect["kind"] not in UNRECORDED]


def recorded_calls(calls):
    names = {"package": "path", "interface": "path"}
    return [(kind,) + tuple(of[names.get(name, name)] for name in MEMBERS.get(kind, ("command",))) for kind, of in calls]


def differences(before, after):
    return {path: (before.get(path), after.get(path)) for path in (before.keys() | after.keys()) - OF_THE_FIRMWARE
            if before.get(path) != after.get(path)}


def planned_differences(changes, before, after):
    result = {}
    for change in changes:
        path = resolve(change["path"], before)
        result[resolve(path, after)] = (change["from"], change["to"])
    return result


def last_write(plan, path):
    """The content that the file has last by a plan, None when it is not written."""
    return next((effect["content"] for effect in reversed(plan["effects"])
                 if effect["kind"] == "write" and effect["path"] == path), None)


class Happens(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.tested = TestedRouter(MODEL)
        cls.addClassCleanup(cls.tested.stop)
        cls.held = {}  # examples that the router was held to, with the number of members of each request

    @classmethod
    def tearDownClass(cls):
        members = [count for counts in cls.held.values() for count in counts]
        print(f"{MODEL}: {len(cls.held)} examples, {len(members)} requests with {sum(members)} members")
        if sum(members) < EXAMPLES:
            raise AssertionError("the requests asked for next to nothing")

    def check(self, request, before):
        """Plans the request and sends it; what is planned must be what happens. What was observed then."""
        tested = self.tested
        plan = tested.plan(request)
        self.assertNotIn("error", plan)
        reply, calls = tested.send(request.route, request.members)
        if tested.snapshot["companion"] == "starting" and "sleep" in (effect["kind"] for effect in plan["effects"]):
            # The router alone decides how long its companion takes.
            plan = tested.plan_again(request, sum(kind == "sleep" for kind, _ in calls))
        after = tested.observe()
        note(f"{request}\nsnapshot {tested.snapshot}\nplan {json.dumps(plan, indent=1)}\ncalls {calls}\nreply {reply}")
        self.assertEqual(plan["result"], reply.result)
        self.assertEqual(plan["response"], reply.response)
        self.assertEqual(list(plan["response"]), list(reply.response), "the order of the response's members")
        self.assertEqual(planned_calls(plan), recorded_calls(calls))
        self.assertEqual(planned_differences(plan["changes"], before.committed, after.committed),
                         differences(before.committed, after.committed))
        self.assertEqual(planned_differences(plan.get("uncommitted", ()), after.committed, after.recorded),
                         differences(after.committed, after.recorded))
        self.check_files(plan, after)
        self.check_end(plan, calls)
        self.assertGreaterEqual(tested.seconds, plan["seconds"])
        self.assertEqual([entry["key"] for entry in plan["keys"]], list(request.members))
        return after

    def check_files(self, plan, after):
        customer = last_write(plan, "/etc/wbf/customer")
        if customer is not None:
            self.assertEqual(after.files.get("/etc/wbf/customer"), customer)

    def check_end(self, plan, calls):
        forked = [of["command"] for kind, of in calls if kind == "fork"]
        ends = {"reboot": "sleep 1; reboot", "notify": "ubus call mqtt notify"}
        for end, command in ends.items():
            self.assertEqual(plan["then"] == end, command in forked, plan["then"])
        if plan["then"] == "restart":
            self.assertTrue(any("/etc/init.d/network restart" in command for command in forked), forked)

    @settings(max_examples=EXAMPLES + SMALL_EXAMPLES, deadline=None, database=None, derandomize=not IS_NIGHTLY, print_blob=IS_NIGHTLY,
              verbosity=Verbosity.normal, suppress_health_check=list(HealthCheck))
    @given(example=strategies.examples(MODEL, strategies.known_keys(MODEL)))
    def test_a_plan_is_what_happens(self, example):
        if repr(example) in self.held:
            return
        state, requests = example
        self.tested.set_state(state)
        seen = self.tested.observe()
        for request in requests:
            seen = self.check(request, seen)
        self.held[repr(example)] = [len(request.members) for request in requests]


if __name__ == "__main__":
    unittest.main()
