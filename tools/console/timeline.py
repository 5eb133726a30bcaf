# SPDX-License-Identifier: Apache-2.0
"""What happened in a box, as one list in true order: requests, changes, commands, journal and log.

The box's daemon, journal and log each keep a file, with times to the microsecond of one clock; all three outlive a
restart of the box. This reads them as they grow and sorts.
"""
import asyncio
import bisect
import contextlib
import json
from pathlib import Path

from secrets_shown import Secrets, json_text

POLL_SECONDS = 0.1
MOST_KEPT = 5000
MOST_READ = 4 << 20  # of a file at once
LONGEST_TEXT = 8192

# What the daemon's record calls what it has: the kind in the list.
KIND_OF = {
    "request": "request", "reply": "request",
    "set": "change", "delete": "change", "commit": "change",
    "system": "command", "exec": "command", "fork": "command", "line": "command", "ucireturn": "command",
    "popen": "command", "iwpriv": "command", "sync": "command", "sleep": "command", "dispatch": "command",
    "dispatched": "command",
}


class Tail:
    """The whole lines that are added to a file, which may be put aside for a new one."""

    def __init__(self, path):
        self.path = Path(path)
        self.file = None

    def lines(self):
        found = []
        with contextlib.suppress(FileNotFoundError):
            if self.file is None:
                self.file = self.path.open("rb")
            found = self.read()
            if not self.path.samefile(f"/proc/self/fd/{self.file.fileno()}"):
                found += self.read()
                self.file.close()
                self.file = self.path.open("rb")
                found += self.read()
        return found

    def read(self):
        start = self.file.tell()
        text = self.file.read(MOST_READ)
        whole = text[:text.rfind(b"\n") + 1]
        self.file.seek(start + len(whole))
        return [line.decode(errors="replace") for line in whole.split(b"\n")[:-1]]


class Timeline:
    def __init__(self, state):
        self.secrets = Secrets()
        self.sources = [(Tail(state.folder / "var/log/trace"), self.traced),
                        (Tail(state.journal), self.journaled), (Tail(state.log), self.logged)]
        self.is_read = True  # the request at hand: the answer to a write has verdicts under the keys, no values
        self.events = []  # by time
        self.last = 0     # number of the last event that arrived
        self.raw = []     # the daemon's record as it is, for those who compare
        self.raw_number = 0
        self.arrived = asyncio.Condition()

    async def follow(self):
        """Reads for ever."""
        while True:
            await self.look()
            await asyncio.sleep(POLL_SECONDS)

    async def look(self):
        found = [event for tail, read in self.sources for line in tail.lines() if (event := read(line)) is not None]
        if not found:
            return
        for event in sorted(found, key=lambda event: event["time"]):
            self.last += 1
            event["number"] = self.last
            bisect.insort(self.events, event, key=lambda event: event["time"])
        del self.events[:-MOST_KEPT]
        async with self.arrived:
            self.arrived.notify_all()

    def since(self, number):
        """Events that arrived after the one of that number, by time."""
        return [event for event in self.events if event["number"] > number]

    async def wait_for_more(self, number, timeout):
        """Waits until there are events after that one; False when the time is up."""
        async with self.arrived:
            with contextlib.suppress(asyncio.TimeoutError):
                await asyncio.wait_for(self.arrived.wait_for(lambda: self.last > number), timeout)
        return self.last > number

    # --- One line of a source each -------------------------------------------------------------------

    def traced(self, line):
        try:
            entry = json.loads(line)
            time, kind, of = entry["time"], entry["kind"], entry["of"] or {}
        except (ValueError, KeyError, TypeError):
            return None
        self.raw_number += 1
        self.raw = [*self.raw[-MOST_KEPT:], entry | {"number": self.raw_number}] if kind in KIND_OF else self.raw
        return self.event(time, KIND_OF.get(kind, "command"), kind, self.text_of(kind, of))

    def text_of(self, kind, of):
        if kind == "request":
            self.secrets.learn_members(of.get("request"))
            self.is_read = of.get("method") == "GET"
            return [f"{of.get('method')} {of.get('path')} ", *self.secrets.pieces(json_text(of.get("request")))]
        if kind == "reply":
            reply = of.get("reply") or {}
            if self.is_read:
                self.secrets.learn_members(reply.get("response"))
            return [f"status {of.get('status')}, result {reply.get('result')} ",
                    *self.secrets.pieces(json_text(reply.get("response")), by_name=self.is_read)]
        if kind in ("set", "delete"):
            path = of.get("path")
            self.secrets.learn_option(path, of.get("from"), of.get("value"))
            after = self.secrets.value(path, of.get("value")) if kind == "set" else ["(deleted)"]
            return [f"{path}: ", *self.secrets.value(path, of.get("from")), " → ", *after]
        if kind == "sleep":
            return [f"waits {of.get('seconds')} s"]
        words = " ".join(str(value) for value in of.values() if value is not None)
        return self.secrets.pieces(words)

    def journaled(self, line):
        time, _, words = line.partition(" ")
        return self.event(time, "journal", "boot" if words == "boot" else "call", self.secrets.pieces(words))

    def logged(self, line):
        time, _, rest = line.partition(" ")
        level, _, text = rest.partition(" ")
        return self.event(time, "log", level, self.secrets.pieces(text))

    @staticmethod
    def event(time, kind, what, pieces):
        return {"time": time, "kind": kind, "what": what, "text": cut(pieces)}


def cut(pieces):
    """The pieces up to the longest text that a page shows."""
    result, room = [], LONGEST_TEXT
    for piece in pieces:
        text = piece["secret"] if isinstance(piece, dict) else piece
        if len(text) > room:
            return [*result, text[:room] if isinstance(piece, str) else {"secret": text[:room]}, " …"]
        room -= len(text)
        result.append(piece)
    return result
