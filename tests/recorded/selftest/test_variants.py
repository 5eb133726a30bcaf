# SPDX-License-Identifier: Apache-2.0
"""Cases that are written as what differs from another one."""
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

VARIANTS = os.environ["VARIANTS"]
PLAY = os.environ["PLAY"].split()
PLAYED = os.environ["PLAYED"].split()

BASE = """\
# Purpose: one zone,
# and another.
[parameters]
zone = China
flag = 1

# From nowhere.
[call set]
{"zone": "${zone}"}
[effects]
set zone=${zone}
set flag=${flag}
sync

# From ${zone}.
[call set]
{}
[effects]
set zone=${zone}
sync
"""

FULL = """\
# Purpose: one zone,
# and another.

# From nowhere.
[call set]
{"zone": "China"}
[effects]
set zone=China
set flag=1
sync

# From China.
[call set]
{}
[effects]
set zone=China
sync
"""


class VariantsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.write("base", BASE)

    def write(self, name, text):
        path = self.folder / f"{name}.case"
        path.write_text(text)
        return path

    def run_variants(self, *arguments, given=None):
        return subprocess.run([VARIANTS, *arguments], capture_output=True, text=True, input=given)

    def expand(self, path):
        done = self.run_variants("expand", path)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def refused(self, text):
        done = self.run_variants("expand", self.write("refused", text))
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        return done.stderr.partition(".case: ")[2].rstrip()

    def test_a_case_in_full(self):
        self.assertEqual(self.expand(self.folder / "base.case"), FULL)
        plain = self.write("plain", "# Purpose: plain.\n\n[call x]\n[]\n[result]\n${a*70} \\xff\n")
        self.assertEqual(self.expand(plain), plain.read_text())

    def test_parameters(self):
        variant = self.write("variant", "# Purpose: Europe.\n[as base]\nzone = Europe = far\n")
        self.assertEqual(self.expand(variant), FULL.replace("China", "Europe = far").replace(
            "one zone,\n# and another", "Europe"))

    def test_many_at_once(self):
        base = self.folder / "base.case"
        plain = self.write("plain", "# Purpose: plain.\n\n[call x]\n[]\n")
        variant = self.write("variant", "# Purpose: x.\n[as base]\nflag = 2\n")
        done = self.run_variants("expand-into", self.folder, given=f"{variant}\n{plain}\n{base}\n")
        first, third = self.folder / "full.1", self.folder / "full.3"
        self.assertEqual((done.returncode, done.stdout), (0, f"{first}\n{plain}\n{third}\n"))
        self.assertEqual((first.read_text(), third.read_text()), (self.expand(variant), self.expand(base)))
        refused = self.write("refused", "# Purpose: x.\n[as base]\ncolour = red\n")
        done = self.run_variants("expand-into", self.folder, given=f"{variant}\n{refused}\n{plain}\n")
        self.assertEqual((done.returncode, done.stderr), (2, f"{refused}: the base has no parameter colour\n"))

    def test_differences(self):
        variant = self.write("variant", "# Purpose: x.\n[as base]\n[but]\n@@\n sync\n+commit\n"
                                        "@@ # From China.\n@@ [effects]\n-set zone=China\n-sync\n+fork\n")
        purpose, _, body = FULL.partition("\n\n")
        first, second = body.split("\n\n")
        self.assertEqual(self.expand(variant),
                         f"# Purpose: x.\n\n{first}\ncommit\n\n" + second.replace("set zone=China\nsync", "fork"))

    def test_what_cannot_be_understood(self):
        head = "# Purpose: x.\n[as base]\n"
        self.assertEqual(self.refused(head + "colour = red\n"), "the base has no parameter colour")
        self.assertEqual(self.refused(head + "zone = a\nzone = b\n"), "zone is given twice")
        self.assertEqual(self.refused(head + "[butt]\n"), "expected NAME = VALUE or [but]: [butt]")
        self.assertEqual(self.refused(head + "[but]\n-sync\n"), "no line of a difference: -sync")
        self.assertEqual(self.refused(head + "[but]\n@@\nsync\n"), "no line of a difference: sync")
        self.assertEqual(self.refused(head + "[but]\n@@ [nowhere]\n-sync\n"),
                         "a difference without a place: [nowhere] / -sync")
        self.assertEqual(self.refused(head + "[but]\n@@\n+sync\n"), "a difference without a place: +sync")
        backwards = "@@ # From China.\n-sync\n@@ # From nowhere.\n-sync\n"
        self.assertEqual(self.refused(head + "[but]\n" + backwards),
                         "a difference without a place: # From nowhere. / -sync")
        self.write("variant", head)
        self.assertIn("a variant is no base", self.run_variants(
            "expand", self.write("second", "# Purpose: x.\n[as variant]\n")).stderr)

    def test_deriving_leads_back(self):
        for case in (FULL, FULL.replace("China", "Europe"), FULL.replace("set flag=1\n", ""),
                     FULL.replace("sync\n", "sync\nfork\n"), FULL.replace("\n# From China.\n", "\n[uci]\nx=1\n"),
                     FULL + "fork\n", FULL.replace("{}", '{\n  "a": "b"\n}')):
            path = self.write("derived", case)
            self.assertEqual(self.run_variants("derive", path, self.folder / "base.case").returncode, 0)
            self.assertIn("[as base]", path.read_text())
            self.assertEqual(self.expand(path), case)

    def test_an_update_keeps_the_form(self):
        variant = self.write("variant", "# Purpose: x.\n[as base]\nzone = Europe\n[but]\n@@\n-set flag=1\n")
        for path, kept in ((variant, "zone = Europe"), (self.folder / "base.case", 'zone": "${zone}"')):
            outcome = self.write("outcome", self.expand(path).replace("sync\n", "sync\nfork\n"))
            self.assertEqual(self.run_variants("update", path, outcome).returncode, 0)
            self.assertIn(kept, path.read_text())
            if path != variant:  # whose base has been changed since
                self.assertEqual(self.expand(path), outcome.read_text())

    def play(self, *arguments):
        return subprocess.run([*PLAY, *arguments, "--", *PLAYED], capture_output=True, text=True)

    def test_playing_one(self):
        self.write("base", "# Purpose: x.\n[parameters]\nmodel = heron\n\n[device]\nmodel = ${model}\n\n[call tables]\n[]\n")
        self.assertEqual(self.play("--update", self.folder / "base.case").returncode, 0)
        self.assertIn("[state]", (self.folder / "base.case").read_text())
        self.assertIn("model = ${model}", (self.folder / "base.case").read_text())
        right = self.write("right", "# Purpose: x.\n[as base]\nmodel = wren\n")
        wrong = self.write("wrong", "# Purpose: x.\n[as base]\nmodel = wren\n[but]\n@@ [state]\n"
                                    "-batch_status=1 xwf_enable_flag=0 falcon_2g_5g_swap_done=0\n+batch_status=0\n")
        self.assertEqual(self.play(self.folder / "base.case", right).returncode, 0)
        done = self.play(right, wrong)
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"--- {wrong}", done.stdout)
        self.assertEqual(self.play("--update", wrong).stdout, f"updated {wrong}\n")
        self.assertEqual(wrong.read_text(), right.read_text())


if __name__ == "__main__":
    unittest.main()
