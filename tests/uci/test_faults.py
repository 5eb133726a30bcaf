# SPDX-License-Identifier: Apache-2.0
"""A process that is killed, or a system call that fails, at every single step of a command: nothing is lost."""
import errno
import itertools
import os
import shutil
import signal
import unittest

import kit

CHANGES = """
add_list net.lan.dns=8.8.8.8
delete net.@rule[0]
delete net.lan.proto
add net rule
set net.@rule[-1].n=4
rename net.lan=wan
reorder net.wan=1
set net.wan.domain=example
"""

# Each command with what it reads.
COMMANDS = [
    (["commit"], ""),
    (["set", "net.wan.more=1"], ""),
    (["add", "net", "rule"], ""),
    (["delete", "net.@rule[0]"], ""),
    (["delete", "net.wan.domain"], ""),  # the first half of its line would delete the section
    (["set", "net.wan.text=" + "long " * 2000], ""),
    (["revert", "net"], ""),
    (["revert", "net.wan.domain"], ""),
    (["import", "net"], "config other a\n\toption b c\n"),
]


class Faults(kit.StoreTest):
    def setUp(self):
        super().setUp()
        self.uci("batch", stdin=CHANGES)
        self.seen = self.root / "seen"
        self.fresh = self.root / "fresh"
        self.fresh.mkdir()
        for name in ("config", "delta"):
            shutil.copytree(self.root / name, self.fresh / name)

    def start_afresh(self):
        for name in ("config", "delta"):
            shutil.rmtree(self.root / name)
            shutil.copytree(self.fresh / name, self.root / name)

    def view(self):
        return self.uci("show", "net")

    def run_with_fault(self, words, stdin, call, number):
        return self.run_uci(*words, stdin=stdin, env={
            "LD_PRELOAD": os.environ["UCI_FAULT"], "FAULT_SEEN": str(self.seen),
            "FAULT_CALL": str(call), "FAULT_ERRNO": str(number)})

    def check_store_works(self, view):
        """The next commit is as good as ever: the same content, durable, and nothing left over."""
        self.uci("commit")
        self.assertEqual(self.view(), view)
        self.assertEqual(self.uci("-t", "none", "show", "net"), view)
        self.assertEqual(self.uci("changes"), "")
        self.assertEqual(os.listdir(self.root / "config"), ["net"])

    def each_step(self, number, check):
        """Calls check(process, system call, view before, view after) with a fault at the first call, the second..."""
        steps = 0
        for words, stdin in COMMANDS:
            self.start_afresh()
            before = self.view()
            self.uci(*words, stdin=stdin)
            after = self.view()
            for call in itertools.count(1):
                self.start_afresh()
                done = self.run_with_fault(words, stdin, call, number)
                if not self.seen.exists():
                    self.assertEqual(done.returncode, 0)
                    break
                name = self.seen.read_text()
                self.seen.unlink()
                steps += 1
                with self.subTest(command=words, call=call, name=name):
                    check(done, name, before, after)
        self.assertGreater(steps, 40)

    def test_order_of_a_commit(self):
        """The new file is on the disk before it is in place, and in place before the delta is emptied."""
        names = []
        for call in itertools.count(1):
            self.start_afresh()
            self.run_with_fault(["commit"], "", call, errno.EIO)
            if not self.seen.exists():
                break
            names.append(self.seen.read_text())
            self.seen.unlink()
        self.assertEqual([name for name, _ in itertools.groupby(names)], [
            "mkostemp", "write", "fchmod", "fsync", "write", "rename", "fsync", "ftruncate"])

    def test_killed(self):
        def check(done, _, before, after):
            self.assertEqual(done.returncode, -signal.SIGKILL)
            view = self.view()
            self.assertIn(view, (before, after))
            self.check_store_works(view)

        self.each_step(0, check)

    def test_failed_call(self):
        def check(done, name, before, after):
            view = self.view()
            if done.returncode == 0:
                # The one call that a commit can do without: it only guards against being killed later on.
                self.assertEqual((done.args[-1], name), ("commit", "write"))
                self.assertEqual(view, after)
            else:
                self.assertEqual(done.returncode, 1)
                self.assertEqual(done.stderr, "uci: I/O error (No space left on device)\n")
                self.assertIn(view, (before, after))
            self.check_store_works(view)

        self.each_step(errno.ENOSPC, check)


if __name__ == "__main__":
    unittest.main()
