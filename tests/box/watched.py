# SPDX-License-Identifier: Apache-2.0
"""A router that a test watches request by request."""
import contextlib
import subprocess
import sys
from datetime import datetime
from typing import NamedTuple

from router import BOX, PATIENCE, Router, wait_for

sys.path.append(str(BOX.parent))
from boxes import control  # noqa: E402  its folder had to be named first
from boxes.failure import Failure  # noqa: E402
from boxes.state import State  # noqa: E402


class Entry(NamedTuple):
    time: float  # seconds since the epoch
    words: list  # program and arguments


class WatchedRouter(Router):
    """A booted router that knows what of its journal has been looked at."""

    def __init__(self, model):
        super().__init__(model)
        try:
            self.wait_until_booted()
        except BaseException:
            self.stop()
            raise
        self.seen = len(self.journal())

    def run(self, command):
        """Runs a shell command in the router, without the cost of a process for the box program."""
        done = control.execute(State(self.state), command, PATIENCE)
        return subprocess.CompletedProcess(command, done.status, done.output.decode(), done.errors.decode())

    def restart(self):
        boots = self.boots()
        with contextlib.suppress(Failure):
            self.run("reboot")
        self.wait_until_restarted(boots)

    def entries(self):
        """What the programs were asked since the last look, which does not move."""
        words = self.journal()[self.seen:]
        lines = (self.state / "var/log/journal").read_text(encoding="utf-8").splitlines()[self.seen:]
        return [Entry(datetime.fromisoformat(line.split()[0]).timestamp(), asked)
                for line, asked in zip(lines, words)]

    def asked(self, count=0):
        """What the programs were asked since the last look, which is now; waits for the count."""
        wait_for(f"{count} calls", lambda: len(self.entries()) >= count)
        words = [entry.words for entry in self.entries()]
        self.seen += len(words)
        return words

    def kept(self, path):
        """The bytes of a file that the router keeps when it restarts, None when there is none."""
        file = self.state / path.lstrip("/")
        return file.read_bytes() if file.exists() else None

    def starts_at_boot(self, service):
        return any(link.name[3:] == service for link in (self.state / "etc/rc.d").iterdir())

    def processes(self, pattern):
        return self.run(f"pgrep -f '{pattern}'").stdout.split()

    def wait_for_processes(self, pattern, count):
        """The processes, as soon as there are so many."""
        def look():
            found = self.processes(pattern)
            return [found] if len(found) == count else None
        return wait_for(f"{count} processes {pattern}", look)[0]

    def wait_until_restarted(self, boots):
        """After a request that restarts the router, which had so many boots."""
        wait_for("the restart", lambda: self.boots() > boots)
        # The last service that boot starts.
        wait_for("the services", lambda: ["/etc/init.d/zu_autoupdate", "boot"] in self.this_boot())

    def this_boot(self):
        """The journal since the last boot."""
        journal = self.journal()
        return journal[len(journal) - journal[::-1].index(["boot"]):]
