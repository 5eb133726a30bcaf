# SPDX-License-Identifier: Apache-2.0
"""The translation of patterns against what the plug-in's own recorded checks say."""
import json
import re
import unittest
from pathlib import Path

from patterns import Untranslatable, translate

CASES = Path(__file__).resolve().parents[1] / "recorded/cases"
CALL = re.compile(r"^\[call regex_exe\]\n(\[.*\])\n\[result\]\n(-?\d+)$", re.MULTILINE)


def recorded():
    """(pattern, text, whether it matches) of every recorded check that can be read as JSON."""
    for file in sorted(CASES.rglob("*.case")):
        for arguments, result in CALL.findall(file.read_text(encoding="utf-8")):
            if "${" in arguments or "\\x" in arguments:
                continue
            pattern, text = json.loads(arguments)
            if pattern is not None and text is not None and result in "01":
                yield pattern, text, result == "1"


class Translation(unittest.TestCase):
    def test_matches_what_the_plugin_matches(self):
        compared, untranslatable = 0, []
        for pattern, text, matches in recorded():
            try:
                translated = translate(pattern)
            except Untranslatable:
                untranslatable.append(pattern)
                continue
            if not text.isascii():
                continue  # bytes against characters
            compared += 1
            with self.subTest(pattern=pattern, text=text, translated=translated):
                found = re.search(translated, text) is not None
                if "\n" in text and ("^" in pattern or "$" in pattern):
                    self.assertTrue(matches or not found, "several lines: only stricter")
                else:
                    self.assertEqual(found, matches)
        self.assertGreater(compared, 150)
        self.assertLess(len(untranslatable), 25, untranslatable)

    def test_refuses_what_it_cannot_say(self):
        for pattern in (r"\1", r"\bx", "*x", "x{", "[", "[[.a.]]", "[[=a=]]", "[b-a]", "é+", "x**"):
            with self.subTest(pattern):
                self.assertRaises(Untranslatable, translate, pattern)


if __name__ == "__main__":
    unittest.main()
