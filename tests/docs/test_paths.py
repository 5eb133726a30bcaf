# SPDX-License-Identifier: Apache-2.0
"""Whether the documents name only build folders that there are, and in the tests' own one only files that it has."""
import os
import re
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ["BUILD"])
FOLDERS = {"main", "targets", "device", "release"}  # ./test, devkit/targets, a maker with an SDK, the release script
NAMED = re.compile(r"(?<![\w/.-])build/([\w.<>-]+)((?:/[\w.<>-]+)*)")


def named():
    """(document, build folder, path in it) of each path that a document names."""
    for document in sorted(TOP.rglob("*.md")):
        folder = document.relative_to(TOP).parts[0]
        if folder not in ("build", "state"):
            for found in NAMED.finditer(document.read_text(encoding="utf-8")):
                yield document.relative_to(TOP), found[1], found[2].strip("/").rstrip(".")


class Paths(unittest.TestCase):
    def test_build_folders(self):
        for document, folder, path in named():
            with self.subTest(document=document, folder=folder, path=path):
                self.assertIn(folder, FOLDERS)

    def test_files_of_this_build(self):
        paths = {(document, path) for document, folder, path in named() if folder == "main" and path}
        self.assertIn((Path("tests/recorded/README.md"), "tests/recorded/player"), paths)
        for document, path in paths:
            with self.subTest(document=document, path=path):
                self.assertTrue((BUILD / path).exists())


if __name__ == "__main__":
    unittest.main()
