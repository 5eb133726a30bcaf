# SPDX-License-Identifier: Apache-2.0
"""How many radios a plan finds on."""
import json
import unittest

from kit import AEROLINK, FleetTest

RADIO = "config wifi-device '{}'\n\toption disabled '{}'\n"
NETWORK = "config wifi-iface\n\toption device '{}'\n\toption disabled '{}'\n"


class Radios(FleetTest):
    def radios_on(self, wireless, request=None, model="heron"):
        snapshot = {"model": model, "uci": f"package wireless\n{wireless}" if wireless is not None else ""}
        done = self.run_command([AEROLINK, "plan", "--stream", json.dumps(request or {})],
                                input=json.dumps(snapshot).encode())
        return json.loads(done.stdout)["radios_on"]

    def test_radio_and_network(self):
        for radio, network, on in (("", "", 1), ("0", "0", 1), ("1", "0", 0), ("0", "1", 0), ("0", "on", 0),
                                   ("true", "0", 0), ("yes", "", 0), ("enabled", "", 0), ("2", "no", 1)):
            with self.subTest(radio=radio, network=network):
                self.assertEqual(self.radios_on(RADIO.format("a", radio) + NETWORK.format("a", network)), on)

    def test_what_belongs_together(self):
        for wireless, on in ((None, 0), ("", 0), (RADIO.format("a", "0"), 0), (NETWORK.format("a", "0"), 0),
                             (RADIO.format("a", "0") + NETWORK.format("b", "0"), 0),
                             (RADIO.format("a", "0") + NETWORK.format("a", "1") + NETWORK.format("a", "0"), 1),
                             (RADIO.format("a", "0") + NETWORK.format("a", "0") + NETWORK.format("a", "0"), 1),
                             (NETWORK.format("b", "0") + RADIO.format("a", "0") + RADIO.format("b", "0")
                              + NETWORK.format("a", "0"), 2)):
            with self.subTest(wireless):
                self.assertEqual(self.radios_on(wireless), on)

    def test_end_of_a_push(self):
        both = RADIO.format("wifi0", "0") + NETWORK.format("wifi0", "0")
        both += RADIO.format("wifi1", "0") + NETWORK.format("wifi1", "0")
        self.assertEqual(self.radios_on(both, {"2g_disable": "1"}), 1)
        self.assertEqual(self.radios_on(both, {"2g_disable": "1", "5g_disable": "1"}), 0)
        self.assertEqual(self.radios_on(both, {"2g_disable": "0"}), 2)


if __name__ == "__main__":
    unittest.main()
