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
"""

# Each command with what it reads.
COMMANDS = [
    (["commit"], ""),
    (["commit", "net"], ""),
    (["set", "net.wan.more=1"], ""),
    (["add", "net", "rule"], ""),
    (["delete", "net.@rule[0]"], ""),
    (["set", "net.wan.text=" + "long " * 2000], ""),
    (["revert", "net"], ""),
    (["revert", "net.wan.dns"], ""),
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

    def each_step(self, number):
        """(command, process, view before, view after) with a fault at the first call, the second, and so on."""
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
                with self.subTest(command=words, call=call, errno=number):
                    yield done, before, after
                self.seen.unlink()

    def test_killed(self):
        steps = 0
        for done, before, after in self.each_step(0):
            steps += 1
            self.assertEqual(done.returncode, -signal.SIGKILL)
            view = self.view()
            self.assertIn(view, (before, after))
            self.check_store_works(view)
        self.assertGreater(steps, 40)

    def test_failed_call(self):
        steps = 0
        for number in (errno.ENOSPC, errno.EIO):
            for done, before, after in self.each_step(number):
                steps += 1
                view = self.view()
                if done.returncode == 0:
                    self.assertEqual(view, after)
                else:
                    self.assertEqual(done.returncode, 1)
                    self.assertEqual(done.stderr, f"uci: I/O error ({os.strerror(number)})\n")
                    self.assertIn(view, (before, after))
                self.check_store_works(view)
        self.assertGreater(steps, 60)


if __name__ == "__main__":
    unittest.main()
