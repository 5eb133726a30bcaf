# SPDX-License-Identifier: Apache-2.0
"""What commands cost on large packages, as ratios of processor time within one run; every bound is generous."""
import os
import statistics
import subprocess
import unittest

import kit

ROUNDS = 5


def package_of(sections):
    return "".join(f"\nconfig rule{'' if number % 2 else f' r{number}'}\n\toption name 'Rule {number}'\n"
                   f"\toption src 'wan'\n\tlist ip '10.0.0.{number % 250}'\n" for number in range(sections))


class Speed(kit.StoreTest):
    def seconds(self, *words, stdin=""):
        """Processor time of one command."""
        (self.root / "input").write_text(stdin)
        with open(self.root / "input", encoding="utf-8") as source:
            process = subprocess.Popen([kit.UCI, "-c", "config", "-t", "delta", *words], cwd=self.root, stdin=source,
                                       stdout=subprocess.DEVNULL)
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(process.returncode, 0, words)
        return usage.ru_utime + usage.ru_stime

    def ratio(self, one, other):
        """The median of what `one` costs by what `other` costs, side by side."""
        return statistics.median(one(number) / max(other(number), 1e-4) for number in range(ROUNDS))

    def test_a_batch_reads_the_package_once(self):
        (self.root / "config/large").write_text(package_of(3000))
        def batch(number):
            return self.seconds("batch", stdin="".join(
                f"set large.@rule[{line * 7}].name='{number}'\n" for line in range(300)))
        ratio = self.ratio(batch, lambda _: self.seconds("show", "large"))
        self.assertEqual(len(self.uci("changes", "large").splitlines()), 300 * ROUNDS)
        self.assertLess(ratio, 10, "300 changes cost what 300 reads would")

    def test_cost_grows_with_the_package_only(self):
        for name, sections in (("small", 2000), ("large", 20000)):
            (self.root / "config" / name).write_text(package_of(sections))
        for words in ("show", "export"):
            with self.subTest(words):
                ratio = self.ratio(lambda _, c=words: self.seconds(c, "large"), lambda _, c=words: self.seconds(c, "small"))
                self.assertLess(ratio, 30, "ten times the sections")

    def test_deleting_section_by_section_is_bearable(self):
        (self.root / "config/large").write_text(package_of(3000))
        ratio = self.ratio(lambda _: self.seconds("batch", stdin="delete large.@rule[-1]\n" * 300),
                           lambda _: self.seconds("show", "large"))
        self.assertLess(ratio, 30)


if __name__ == "__main__":
    unittest.main()
