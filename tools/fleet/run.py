# SPDX-License-Identifier: Apache-2.0
"""Plans a fleet: chunk after chunk goes to an engine, and the sums come back in the order of the input."""
import zlib
from collections import deque
from typing import NamedTuple

import summary
import worker
from snapshots import Unreadable

PATIENCE = 0.2  # seconds between looks at the clock and at whether to stop


class Unwritable(Exception):
    """Plans cannot be written where they are wanted."""


class Pending(NamedTuple):
    read: int  # of the input, as far as the chunk goes
    future: object


class Run:
    """An engine (Local, Cluster) says how many chunks it wants at a time, takes them, and knows when one is done."""

    def __init__(self, engine, order, stop, progress, plans=None):
        self.engine, self.order, self.stop, self.progress, self.plans = engine, order, stop, progress, plans
        self.total = summary.empty_sum()
        self.why_incomplete = None
        self.pending = deque()

    def plan(self, chunks):
        """Leaves the sum in self.total and, in self.why_incomplete, why it is not that of all devices."""
        chunks = self.until_unreadable(chunks)
        try:
            while self.fill(chunks):
                if self.stop:
                    self.withdraw()
                if not self.stop.at_once and self.is_first_done():
                    self.take_first()
                if self.stop.at_once or self.why_stuck():
                    break
        except Unwritable as failure:
            self.give_up(str(failure))
        except Exception as failure:  # of a cluster, anything can come
            self.give_up(self.engine.explain(failure))
        if self.stop:
            self.give_up(f"stopped by {self.stop.name}")

    def until_unreadable(self, chunks):
        try:
            yield from chunks
        except Unreadable as failure:
            self.give_up(str(failure))

    def give_up(self, why):
        self.why_incomplete = self.why_incomplete or why

    def why_stuck(self):
        why = self.engine.why_stuck()
        if why:
            self.give_up(why)
        return why

    def withdraw(self):
        """Takes back what no worker can have begun, or hardly any."""
        while len(self.pending) > self.engine.workers():
            self.pending.pop().future.cancel()

    def fill(self, chunks):
        """Whether there is anything to wait for."""
        while len(self.pending) < self.engine.window() and not self.stop:
            chunk = next(chunks, None)
            if chunk is None:
                break
            text = zlib.compress(chunk.text, 1) if self.engine.packed else chunk.text
            sent = {"text": text, "packed": self.engine.packed, "first": chunk.first, "name": chunk.name,
                    "line": chunk.line}
            self.pending.append(Pending(chunk.read, self.engine.submit(sent, self.order)))
        return bool(self.pending)

    def is_first_done(self):
        self.progress.show(self.total["lines"])
        return self.engine.is_done(self.pending[0].future, PATIENCE)

    def take_first(self):
        first = self.pending.popleft()
        part, plans = first.future.result()
        summary.add(self.total, part)
        self.progress.read = first.read
        if self.plans:  # a file without a buffer of its own
            self.write(zlib.decompress(plans) if self.engine.packed else plans)

    def write(self, plans):
        try:
            worker.write_all(self.plans, plans)
        except OSError as failure:
            raise Unwritable(f"{self.plans.name}: {failure.strerror}") from None
