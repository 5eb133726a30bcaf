# SPDX-License-Identifier: Apache-2.0
"""Whether the examples' own checker sees what it has to see."""
import unittest

from examples import Example, matches, parse

DOCUMENT = """\
# Title
$ not a command
```
$ nor this
```
```console
$ one \\
  more
$ two
line
```
text
```console
$ three
```
"""


class Parsing(unittest.TestCase):
    def test_blocks_and_commands(self):
        self.assertEqual(parse(DOCUMENT), [Example(7, "one \\\n  more", ""), Example(9, "two", "line\n"),
                                           Example(14, "three", "")])

    def test_a_block_that_begins_with_output(self):
        with self.assertRaises(ValueError):
            parse("```console\noutput\n```\n")


class Matching(unittest.TestCase):
    def test_what_matches(self):
        for shown, actual in [("", ""), ("a\n", "a\n"), ("a\n", "a"), ("a...c\n", "abc\n"), ("a...\n", "a\n"),
                              ("...\n", ""), ("...\nz\n", "x\ny\nz\n"), ("a.b*\n", "a.b*\n")]:
            with self.subTest(shown=shown, actual=actual):
                self.assertTrue(matches(shown, actual))

    def test_what_does_not(self):
        for shown, actual in [("", "a\n"), ("a\n", ""), ("a\n", "b\n"), ("a\n", "a\nb\n"), ("a\nb\n", "a\n"),
                              ("a...c\n", "a\nc\n"), ("...\nz\n", "x\ny\n"), ("a.b\n", "axb\n"), ("a\n", "a\n\n")]:
            with self.subTest(shown=shown, actual=actual):
                self.assertFalse(matches(shown, actual))


if __name__ == "__main__":
    unittest.main()
