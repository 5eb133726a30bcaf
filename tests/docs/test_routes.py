# SPDX-License-Identifier: Apache-2.0
"""Whether docs/api.md has every route of the plug-in: a row in the overview, and a section with an example."""
import re
import unittest
from pathlib import Path

from examples import parse
from player import ask

DOCUMENT = Path(__file__).resolve().parents[2] / "docs/api.md"


def sections(document):
    """Heading of the second level to its text."""
    parts = re.split(r"^## (.*)\n", document, flags=re.MULTILINE)
    return dict(zip(parts[1::2], parts[2::2]))


class Routes(unittest.TestCase):
    def test_each_is_documented(self):
        document = DOCUMENT.read_text(encoding="utf-8")
        documented = sections(document)
        routes = [line.split()[:2] for line in ask("get_api_entity")]
        self.assertTrue(routes)
        for method, path in routes:
            with self.subTest(path):
                heading = f"{method.upper()} {path}"
                anchor = heading.lower().replace("/", "").replace(" ", "-")
                self.assertIn(f"| [{path}](#{anchor}) | {method.upper()} |", document)
                self.assertIn(heading, list(documented))
                commands = [example.command for example in parse(documented[heading])]
                self.assertTrue(any(f"127.0.0.1:8080{path}" in command for command in commands), "an example calls it")
        self.assertEqual(len(routes), sum(heading.startswith(("GET ", "POST ")) for heading in documented))


if __name__ == "__main__":
    unittest.main()
