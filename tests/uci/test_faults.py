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

BATCH = ["set net.wan.one=1", "add net rule", "delete net.wan.domain", "set net.@rule[-1].n='it is\n4'",
         "add_list net.wan.dns=9.9.9.9", "set net.wan.one=2"]

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
    (["batch"], "\n\n".join(BATCH)),
    (["batch"], "set net.wan.one=1\n\ncommit\n\nset net.wan.two=2"),
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

    def run_with_fault(self, words, stdin, call, number, **more):
        return self.run_uci(*words, stdin=stdin, env={
            "LD_PRELOAD": os.environ["UCI_FAULT"], "FAULT_SEEN": str(self.seen),
            "FAULT_CALL": str(call), "FAULT_ERRNO": str(number), **{name: str(value) for name, value in more.items()}})

    def mark_of_commit(self):
        """The number of the call that says in the delta what the commit is about to put in place."""
        names = self.names_of_commit()
        return len(names) - 1 - names[::-1].index("write") + 1

    def names_of_commit(self):
        names = []
        for call in itertools.count(1):
            self.start_afresh()
            self.run_with_fault(["commit"], "", call, errno.EIO)
            if not self.seen.exists():
                return names
            names.append(self.seen.read_text())
            self.seen.unlink()

    def check_store_works(self, view):
        """The next commit is as good as ever: the same content, durable, and nothing left over."""
        self.uci("commit")
        self.assertEqual(self.view(), view)
        self.assertEqual(self.uci("-t", "none", "show", "net"), view)
        self.assertEqual(self.uci("changes"), "")
        self.assertEqual(os.listdir(self.root / "config"), ["net"])

    def views_of(self, words, stdin):
        """What is there before the command, after each line of a batch, and after it."""
        views = [self.view()]
        lines = stdin.split("\n\n") if words == ["batch"] else []
        for count in range(1, len(lines)):
            self.start_afresh()
            self.uci(*words, stdin="\n".join(lines[:count]))
            views.append(self.view())
        self.start_afresh()
        self.uci(*words, stdin=stdin)
        return [*views, self.view()]

    def each_step(self, number, check):
        """Calls check(process, system call, views) with a fault at the first call, the second..."""
        steps = 0
        for words, stdin in COMMANDS:
            self.start_afresh()
            views = self.views_of(words, stdin)
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
                    check(done, name, views)
        self.assertGreater(steps, 40)

    def test_order_of_a_commit(self):
        """The new file is on the disk before it is in place, and in place before the delta is emptied."""
        self.assertEqual([name for name, _ in itertools.groupby(self.names_of_commit())], [
            "mkostemp", "write", "fchmod", "fsync", "write", "rename", "fsync", "ftruncate"])

    def test_killed(self):
        def check(done, _, views):
            self.assertEqual((done.returncode, done.stdout), (-signal.SIGKILL, ""))
            view = self.view()
            self.assertIn(view, views)
            self.check_store_works(view)

        self.each_step(0, check)

    def test_failed_call(self):
        def check(done, name, views):
            view = self.view()
            if done.returncode == 0:
                # The one call that a commit can do without: its mark goes elsewhere then.
                self.assertIn((done.args[-1], name), (("commit", "write"), ("batch", "write")))
                self.assertEqual(view, views[-1])
            else:
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertEqual(done.stderr, "uci: I/O error (No space left on device)\n")
                # Of a batch without a commit in it all lines are there or none.
                self.assertIn(view, views if "wan.two" in views[-1] else (views[0], views[-1]))
            self.check_store_works(view)

        self.each_step(errno.ENOSPC, check)

    def test_killed_while_the_delta_folder_is_full(self):
        """The mark that tells what is committed is elsewhere then, and as good."""
        mark = self.mark_of_commit()
        views = self.views_of(["commit"], "")
        committed = 0
        for call in itertools.count(mark + 1):
            self.start_afresh()
            done = self.run_with_fault(["commit"], "", mark, errno.ENOSPC, FAULT_KILL=call)
            if done.returncode == 0:
                break
            with self.subTest(call=call):
                self.assertEqual(done.returncode, -signal.SIGKILL)
                self.assertIn(self.view(), views)
                bare = self.uci("-t", "none", "show", "net")
                committed += bare == views[-1] and "dns" in (self.root / "delta/net").read_text()
                self.check_store_works(self.view())
                self.assertEqual(self.view(), views[-1])
        self.assertEqual(os.listdir(self.root / "config"), ["net"])
        self.assertGreater(committed, 0, "never killed between the rename and the emptied delta")

    def seen_when_killed(self, mark, call):
        self.start_afresh()
        done = self.run_with_fault(["commit"], "", mark, errno.ENOSPC, FAULT_KILL=call)
        self.assertEqual(done.returncode, -signal.SIGKILL)
        return self.seen.read_text()

    def test_next_steps_after_a_kill_on_a_full_delta_folder(self):
        """Whatever comes next, what is committed is not made again."""
        mark = self.mark_of_commit()
        emptying = next(call for call in itertools.count(mark + 2)
                        if self.seen_when_killed(mark, call) == "ftruncate")
        for words, stdin in COMMANDS:
            with self.subTest(command=words):
                self.start_afresh()
                self.uci("commit")
                self.uci(*words, stdin=stdin)
                self.uci("commit")
                expected = self.view()
                self.start_afresh()
                self.run_with_fault(["commit"], "", mark, errno.ENOSPC, FAULT_KILL=emptying)
                self.uci(*words, stdin=stdin)
                self.uci("commit")
                self.assertEqual(self.view(), expected)

    def test_no_commit_without_a_mark(self):
        mark = self.mark_of_commit()
        views = self.views_of(["commit"], "")
        self.start_afresh()
        file = (self.root / "config/net").read_text()
        done = self.run_with_fault(["commit"], "", mark, errno.ENOSPC, FAULT_LAST=mark + 2)
        self.assertEqual((done.returncode, done.stderr), (1, "uci: I/O error (No space left on device)\n"))
        self.assertEqual((self.root / "config/net").read_text(), file)
        self.assertEqual(os.listdir(self.root / "config"), ["net"])
        self.check_store_works(views[0])


if __name__ == "__main__":
    unittest.main()
