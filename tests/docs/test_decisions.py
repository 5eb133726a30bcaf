# SPDX-License-Identifier: Apache-2.0
"""Every decision of docs/decisions.md is named where the code does as it says, and no other number is."""
import re
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FOLDERS = ("plugin", "cloud", "wifi", "batch", "whiteboard")


class DecisionsTest(unittest.TestCase):
    def test_linked_from_the_code(self):
        headings = re.findall(r"^## (\d+)\. ", (ROOT / "docs/decisions.md").read_text(encoding="utf-8"), re.MULTILINE)
        self.assertEqual(headings, [str(number + 1) for number in range(len(headings))])
        named = set()
        for folder in FOLDERS:
            for path in (ROOT / folder).glob("*.*"):
                named.update(re.findall(r"\(decision (\d+)\)", path.read_text(encoding="utf-8")))
        self.assertEqual(sorted(named, key=int), headings)


if __name__ == "__main__":
    unittest.main()
