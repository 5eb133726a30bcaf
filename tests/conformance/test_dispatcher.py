# SPDX-License-Identifier: Apache-2.0
"""The plug-in that checks a daemon: the kit's daemon passes, and each fault is named."""
import json
import os
import subprocess
import unittest

from support import DaemonTest

PLUGIN = os.environ["APID_TEST_PLUGIN"]

FAULTS = {
    "none": "ok",
    "result of an unknown path": "an unknown path does not give -1",
    "response of an unknown path": "an unknown path changes the response",
    "route": "the route does not run",
    "objects": "the route gets other objects",
    "result": "the route's result is lost",
    "added member": "what the route adds to the response is lost",
}


class Dispatcher(DaemonTest):
    def test_kit(self):
        status, _, reply = self.daemon().get("/conformance/dispatcher")
        self.assertEqual((status, reply), (200, {"result": 0, "response": {"custom_api_dispatcher": "ok"}}))

    def test_faults(self):
        for fault, words in FAULTS.items():
            with self.subTest(fault):
                done = subprocess.run([os.environ["FAULTY_DAEMON"], PLUGIN, fault], capture_output=True, text=True,
                                      check=False)
                self.assertEqual(json.loads(done.stdout)["custom_api_dispatcher"], words)
                self.assertEqual(done.returncode, 0 if fault == "none" else 1)


if __name__ == "__main__":
    unittest.main()
