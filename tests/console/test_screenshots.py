# SPDX-License-Identifier: Apache-2.0
"""Whether the pictures of the documents can be made, and show the console as it is."""
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

from router import SOURCE

PICTURES = ("console-plan.png", "console-timeline.png")


def size_of(file):
    """Width and height of a PNG file."""
    return struct.unpack(">II", file.read_bytes()[16:24])


class Screenshots(unittest.TestCase):
    def test_are_made_and_in_the_documents(self):
        with tempfile.TemporaryDirectory() as folder:
            subprocess.run([sys.executable, "-B", Path(__file__).with_name("screenshots"), folder], check=True)
            readme = (SOURCE / "README.md").read_text(encoding="utf-8")
            for name in PICTURES:
                made, kept = Path(folder, name), SOURCE / "docs/images" / name
                self.assertEqual(size_of(made), size_of(kept), name)
                self.assertGreater(made.stat().st_size, kept.stat().st_size // 2, "something is on it")
                self.assertIn(f"(docs/images/{name})", readme)


if __name__ == "__main__":
    unittest.main()
