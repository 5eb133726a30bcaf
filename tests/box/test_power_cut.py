# SPDX-License-Identifier: Apache-2.0
"""A power cut in the middle of a push leaves whole files, each as before or after a commit, and a router that works.

The model comes from the environment. `power_cut` cuts at many more moments.
"""
import os
import unittest

from power_cuts import PUSHES, CutRouter, cut_inside

MOMENTS = 10
SEED = 1


class PowerCut(unittest.TestCase):
    def test_in_a_push(self):
        for route in PUSHES:
            with self.subTest(route=route), CutRouter(os.environ["ROUTER_MODEL"], route, SEED) as router:
                found = list(cut_inside(router, MOMENTS))
                self.assertTrue(any(each.committing for each in found), found)


if __name__ == "__main__":
    unittest.main()
