# SPDX-License-Identifier: Apache-2.0
"""The front door: its help, its version, and the programs that it runs for other words."""
import os
import re
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

AEROLINK = os.environ["AEROLINK"]


def run(*arguments, program=AEROLINK):
    return subprocess.run([program, *arguments], capture_output=True, text=True, timeout=20, check=False)


class Front(unittest.TestCase):
    def test_version(self):
        self.assertRegex(run("--version").stdout, r"^aerolink \d+\.\d+\.\d+\n$")

    def test_help_goes_to_standard_output(self):
        for word in ("help", "--help", "-h"):
            done = run(word)
            self.assertEqual((done.returncode, done.stderr), (0, ""), word)
            self.assertIn("usage: aerolink COMMAND", done.stdout)

    def test_nothing_asked_is_wrong_use(self):
        done = run()
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("usage: aerolink COMMAND", done.stderr)

    def test_unknown_word_is_named(self):
        for word in ("plam", "", "-x", "../plan", "a/b", "Plan"):
            done = run(word)
            self.assertEqual((done.returncode, done.stdout), (1, ""), word)
            self.assertIn(f"no command {word} ", done.stderr)


class Helpers(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="aerolink-test-"))
        self.addCleanup(shutil.rmtree, self.folder)
        (self.folder / "bin").mkdir()
        (self.folder / "libexec/aerolink").mkdir(parents=True)
        self.program = shutil.copy(AEROLINK, self.folder / "bin/aerolink")

    def add(self, place, mode=0o755):
        path = self.folder / place
        path.write_text('#!/bin/sh\necho "$(basename "$0") $AEROLINK $#" "$@"\nexit 7\n', encoding="ascii")
        path.chmod(mode)

    def test_beside_itself_and_in_the_helpers_folder(self):
        for place in ("bin/aerolink-beside", "libexec/aerolink/aerolink-installed"):
            self.add(place)
            word = place.rpartition("aerolink-")[2]
            done = run(word, "a b", "", program=self.program)
            self.assertEqual(done.returncode, 7)
            self.assertEqual(done.stdout, f"aerolink-{word} {self.program} 2 a b \n")

    def test_help_lists_helpers_and_asks_them(self):
        self.add("bin/aerolink-beside")
        self.add("bin/aerolink-text", mode=0o644)
        text = run("help", program=self.program).stdout
        self.assertIn("  beside ", text)
        self.assertNotIn("text ", text.partition("Commands:")[2].partition("help ")[0])
        self.assertEqual(run("help", "beside", program=self.program).stdout.split()[-1], "--help")

    def test_help_says_what_each_does(self):
        lines = dict(re.findall(r"^  ([a-z-]+)  +(.*)$", run("help").stdout, re.MULTILINE))
        self.assertLessEqual({"plan", "check", "export", "snapshot", "describe", "keys", "schema", "openapi", "generate",
                              "fleet", "fleet-sample", "console", "help"}, set(lines))
        for word, summary in lines.items():
            with self.subTest(word):
                self.assertRegex(summary, r"^[a-z].{10,}[^.\"]$")
                self.assertLessEqual(len(summary), 80)

    def test_a_summary_is_the_helpers_own(self):
        for name, text in (("said", '#!/bin/sh\n# aerolink said: does it all. And more.\n'),
                           ("late", "#!/bin/sh\n\n\n\n\n\n# aerolink late: is not looked for here.\n"),
                           ("other", "#!/bin/sh\n# aerolink others: are not this one.\n"),
                           ("program", "\x7fELF\0\0\0")):
            (self.folder / f"bin/aerolink-{name}").write_text(text, encoding="ascii")
            (self.folder / f"bin/aerolink-{name}").chmod(0o755)
        text = run("help", program=self.program).stdout
        self.assertRegex(text, r"\n  said +does it all\n")
        for name in ("late", "other", "program"):
            self.assertRegex(text, rf"\n  {name} +\(see aerolink {name} --help\)\n")

    def test_through_a_link(self):
        self.add("bin/aerolink-beside")
        link = self.folder / "elsewhere"
        link.symlink_to(self.program)
        self.assertEqual(run("beside", program=link).returncode, 7)


if __name__ == "__main__":
    unittest.main()
