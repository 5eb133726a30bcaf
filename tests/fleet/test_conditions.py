# SPDX-License-Identifier: Apache-2.0
"""The conditions of --fail-on."""
import unittest

import kit  # noqa: F401  it knows where the modules are
import conditions
import summary

SOME = {"devices": 200, "error": 2, "slowest": {"seconds": 31}} | {
    name: {"devices": devices} for name, devices in zip(summary.FACTS, (190, 8, 1, 0, 200, 3, 0, 7, 0))}
NONE = {"devices": 0, "error": 0, "slowest": None} | {name: {"devices": 0} for name in summary.FACTS}


class Conditions(unittest.TestCase):
    def test_what_holds(self):
        for text in ("refused>0", "refused>=1", "refused=1", "refused<2", "refused<=1", "refused>0.4%", "refused=0.5%",
                     "unknown=100%", "error>=1%", "error=2", "ignored=0", "changed<100%", " reboot > 1 % ",
                     "seconds>30", "lan_address_changed=3.5%", "no_radio<1", "restart=0", "unchanged<=4%"):
            with self.subTest(text):
                self.assertEqual([condition.holds(SOME) for condition in conditions.parse(text)], [True])

    def test_what_does_not(self):
        for text in ("refused>1", "refused<1", "refused=0", "refused>0.5%", "unknown<100%", "ignored>0", "reboot>2%",
                     "seconds>31", "error>1%"):
            with self.subTest(text):
                self.assertEqual([condition.holds(SOME) for condition in conditions.parse(text)], [False])

    def test_a_fleet_of_none(self):
        for text, holds in (("refused>0", False), ("changed<100%", True), ("seconds>0", False), ("error=0%", True)):
            with self.subTest(text):
                self.assertEqual(conditions.parse(text)[0].holds(NONE), holds)

    def test_several(self):
        self.assertEqual([condition.text for condition in conditions.parse("refused>0, reboot>1%")],
                         ["refused>0", "reboot>1%"])

    def test_what_is_none(self):
        for text in ("", "refused", "refused>", ">0", "refused>-1", "refused>1e9", "refused>>1", "refused>0,",
                     "refusd>0",
                     "complete=1", "seconds>1%", "refused==1", "refused>0;reboot>0", "refused>" + "9" * 13, "keys>0"):
            with self.subTest(text), self.assertRaises(ValueError):
                conditions.parse(text)


if __name__ == "__main__":
    unittest.main()
