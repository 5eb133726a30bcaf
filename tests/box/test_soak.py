# SPDX-License-Identifier: Apache-2.0
"""Requests of all kinds leave neither memory nor descriptors behind in the daemon of a router."""
import unittest

from mixed_requests import soak
from router import Router

WARM = 3  # of the looks, after which nothing grows


class Soak(unittest.TestCase):
    def test_memory_and_descriptors_are_flat(self):
        with Router("heron") as router:
            router.wait_until_booted()
            seen = list(soak(router, 2000, 10))
        self.assertLess(seen[-1].memory - seen[WARM].memory, 300, seen)
        self.assertEqual(seen[-1].descriptors, seen[WARM].descriptors, seen)


if __name__ == "__main__":
    unittest.main()
