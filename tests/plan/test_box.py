# SPDX-License-Identifier: Apache-2.0
"""The state folder of a router in a box, while it runs and after it."""
import json
import tempfile
import unittest

import router
from support import run


class State(unittest.TestCase):
    def planned(self, folder, request):
        done = run("plan", "--json", "--device", folder, json.dumps(request))
        self.assertEqual(done.returncode, 0, done.stderr)
        return json.loads(done.stdout)

    def test_running_and_stopped(self):
        with tempfile.TemporaryDirectory() as folder:
            state = f"{folder}/state"
            with router.Router("osprey", state) as device:
                device.shell("uci set network.lan.proto=dhcp; echo 1 >/etc/device/repeater; echo 3 >/etc/device/xwf_delay")
                running = self.planned(state, {"2g_channel": "11"})
                self.assertEqual(running["model"], "osprey")
                self.assertEqual(running["keys"][0]["reason"], "repeater")
                self.assertEqual(running["changes"], [{"path": "network.lan.proto", "from": "static", "to": "dhcp"}])
            # What was recorded in "/tmp" has gone with the power.
            stopped = self.planned(state, {"2g_ssid": "a"})
            self.assertEqual([change["path"] for change in stopped["changes"]], ["wireless.default_radio1.ssid"])
            snapshot = json.loads(run("snapshot", "--device", state).stdout)
            self.assertEqual((snapshot["companion"], snapshot["companion_seconds"]), ("starting", 3))


if __name__ == "__main__":
    unittest.main()
