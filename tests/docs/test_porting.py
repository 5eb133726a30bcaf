# SPDX-License-Identifier: Apache-2.0
"""Whether the worked example of docs/porting.md, put into the sources as it says, builds and plays its recorded case."""
import os
import re
import shutil
import subprocess
import tempfile
import textwrap
import unittest
from pathlib import Path

TOP = Path(__file__).resolve().parents[2]
FOLDERS = ("batch", "cloud", "cmake", "platform", "plugin", "whiteboard", "wifi")
CODE = re.compile(r"^ *```\w*\n(.*?)^ *```$", re.MULTILINE | re.DOTALL)
PLACE = re.compile(r"// (\S+), (behind|before): (.+)\n")


def blocks():
    """What stands between the document's fences, without its indent."""
    text = (TOP / "docs/porting.md").read_text(encoding="utf-8")
    return [textwrap.dedent(block[1]) for block in CODE.finditer(text)]


def put(sources, file, side, beside, code):
    path = sources / file
    lines = path.read_text(encoding="utf-8").splitlines(keepends=True)
    at, = (number for number, line in enumerate(lines) if beside in line)
    lines.insert(at + (side == "behind"), code)
    path.write_text("".join(lines), encoding="utf-8")


class Example(unittest.TestCase):
    def run_well(self, *command):
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_builds_and_plays(self):
        pieces = [(PLACE.match(block), block) for block in blocks()]
        case, = (block for _, block in pieces if block.startswith("# Purpose: "))
        with tempfile.TemporaryDirectory() as folder:
            sources, build = Path(folder, "sources"), Path(folder, "build")
            for part in FOLDERS:
                shutil.copytree(TOP / part, sources / part)
            shutil.copy(TOP / "CMakeLists.txt", sources)
            placed = [(place, block) for place, block in pieces if place]
            self.assertGreater(len(placed), 8)
            for place, block in placed:
                put(sources, *place.groups(), block[place.end():])
            self.run_well("cmake", "-S", sources, "-B", build, "-G", "Ninja", "-DAEROLINK_DEVKIT=OFF",
                          "-DAEROLINK_TESTS=OFF", "-DAEROLINK_TOOLS=OFF", "-DAEROLINK_WERROR=ON")
            self.run_well("cmake", "--build", build, "--target", "aerolink", "-j", "1")
            file = Path(folder, "channel_0_on_petrel.case")
            file.write_text(case, encoding="utf-8")
            self.run_well(TOP / "tests/recorded/play", file, "--", os.environ["PLAYER"], build / "aerolink.so")


if __name__ == "__main__":
    unittest.main()
