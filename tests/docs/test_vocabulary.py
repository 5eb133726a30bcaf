# SPDX-License-Identifier: Apache-2.0
"""Whether the generated part of docs/batch.md is what the plug-in's tables say."""
import unittest
from pathlib import Path

import vocabulary

DOCUMENT = Path(__file__).resolve().parents[2] / "docs/batch.md"


class GeneratedPart(unittest.TestCase):
    maxDiff = None

    def test_is_up_to_date(self):
        _, generated, _ = vocabulary.split(DOCUMENT.read_text(encoding="utf-8"))
        self.assertEqual(generated, vocabulary.generate(), "run tests/docs/vocabulary.py docs/batch.md")


if __name__ == "__main__":
    unittest.main()
