# SPDX-License-Identifier: Apache-2.0
"""Samples of contenders that were measured in turn, and what compares them."""
import os
import statistics
import subprocess
import time
from collections import defaultdict
from typing import NamedTuple


class Sample(NamedTuple):
    wall: float       # seconds
    processor: float  # seconds, of the work and of the processes that it waited for


class Samples:
    """Rounds by case and contender; the rounds of a case belong together."""

    def __init__(self):
        self.rounds = defaultdict(list)

    def add(self, case, contender, sample):
        self.rounds[case, contender].append(sample)

    def median(self, case, contender, of="wall"):
        return statistics.median(getattr(sample, of) for sample in self.rounds[case, contender])

    def ratio(self, case, contender, reference, of="processor"):
        """The median of the rounds' ratios: what slows a whole round down counts on both sides."""
        pairs = zip(self.rounds[case, contender], self.rounds[case, reference], strict=True)
        return statistics.median(getattr(one, of) / getattr(other, of) for one, other in pairs)

    def contenders(self, case):
        return [name for of, name in self.rounds if of == case]


def run_once(command, **options):
    """Runs a program to its end; what it took."""
    start = time.monotonic()
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, **options)
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.monotonic() - start
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise RuntimeError(f"{command} ended with status {process.returncode}")
    return Sample(wall, usage.ru_utime + usage.ru_stime)


def in_turn(samples, case, rounds, contenders):
    """Measures contenders, {name: function that gives a sample}, each once a round, the first one another each time. A
    round that warms the machine up is thrown away."""
    names = list(contenders)
    for number in range(rounds + 1):
        for turn in range(len(names)):
            name = names[(number + turn) % len(names)]
            sample = contenders[name]()
            if number > 0:
                samples.add(case, name, sample)
