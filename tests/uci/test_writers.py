# SPDX-License-Identifier: Apache-2.0
"""Several processes at once: no acknowledged change is lost or made twice, and no reader sees a torn file."""
import subprocess
import unittest

import kit

WRITERS = 4
CHANGES, REPLACEMENTS = (20, 15) if "asan" in kit.UCI else (100, 60)

WRITE = """
for i in $(seq {changes}); do
    "$UCI" -c config -t delta add_list net.lan.l{number}=$i || exit 1
    "$UCI" -c config -t delta add net made >/dev/null || exit 1
    [ $((i % 5)) != {number} ] || "$UCI" -c config -t delta commit net || exit 1
done
"""


class Writers(kit.StoreTest):
    def start(self, script):
        return subprocess.Popen(["/bin/sh", "-c", script], cwd=self.root,
                                env={"UCI": kit.UCI, "PATH": "/usr/bin:/bin"})

    def items(self, number, *options):
        done = self.run_uci(*options, "-q", "get", f"net.lan.l{number}")
        return done.stdout.split()

    def check_readers(self, seen):
        for number in range(WRITERS):
            items = self.items(number)
            self.assertEqual(items, [str(i + 1) for i in range(len(items))])
            self.assertGreaterEqual(len(items), seen[number], "an acknowledged change has vanished")
            seen[number] = len(items)
        # The file alone: always a whole one, with its first section and its last one.
        bare = self.uci("-t", "none", "show", "net").splitlines()
        self.assertEqual(bare[0], "net.lan=interface")
        self.assertIn("net.@rule[2].n='3'", bare)

    def test_a_batch_ends_with_its_exit(self):
        """Its writer need not close the pipe, and what is no command `exit` ends nothing."""
        for text, wanted in (("set net.lan.n=1\nexit\n", "1"), ("set net.lan.n=2\n \tEXIT # x\n", "2"),
                             ("set net.lan.n='\nexit\n'\nset net.lan.n=3\nbogus; exit\nexit\n", "3")):
            with self.subTest(text=text), subprocess.Popen([kit.UCI, "-q", "-c", "config", "-t", "delta", "batch"], text=True,
                                                           cwd=self.root, stdin=subprocess.PIPE) as batch:
                batch.stdin.write(text)
                batch.stdin.flush()
                self.assertEqual(batch.wait(timeout=60), 0)
                self.assertEqual(self.uci("get", "net.lan.n"), wanted + "\n")
        done = self.run_uci("batch", stdin="import other\nconfig a 'b'\n\toption c '\nexit\nset'\n\texit\n")
        self.assertIn("line 5", done.stderr)  # of the import's own text, which is read to its end

    def test_nothing_is_lost(self):
        writers = [self.start(WRITE.format(changes=CHANGES, number=number)) for number in range(WRITERS)]
        seen, rounds = [0] * WRITERS, 0
        while any(writer.poll() is None for writer in writers):
            self.check_readers(seen)
            rounds += 1
        self.assertEqual([writer.wait() for writer in writers], [0] * WRITERS)
        self.assertGreater(rounds, 5)

        self.uci("commit", "net")
        expected = [str(i + 1) for i in range(CHANGES)]
        for number in range(WRITERS):
            self.assertEqual(self.items(number, "-t", "none"), expected)
        self.assertEqual(self.uci("show", "net").count("=made"), WRITERS * CHANGES)
        self.assertEqual([path.name for path in (self.root / "config").iterdir()], ["net"])

    def test_whole_files_are_replaced_under_readers(self):
        texts = [f"config a x\n\toption y '{letter * 50000}'\n" for letter in "ab"]
        for number, text in enumerate(texts):
            (self.root / f"text{number}").write_text(text)
        (self.root / "config/big").write_text(texts[0])
        writer = self.start(f"""for i in $(seq {REPLACEMENTS}); do
            for n in 0 1; do "$UCI" -c config -t delta import big <text$n || exit 1; done; done""")
        rounds = 0
        while writer.poll() is None:
            self.assertIn(self.uci("get", "big.x.y").strip(), ("a" * 50000, "b" * 50000))
            rounds += 1
        self.assertEqual(writer.wait(), 0)
        self.assertGreater(rounds, 5)


if __name__ == "__main__":
    unittest.main()
