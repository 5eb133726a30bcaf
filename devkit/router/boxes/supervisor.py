# SPDX-License-Identifier: Apache-2.0
"""Keeps a box running: starts it again after a reboot, and as a watchdog does after its init was killed."""
import time

from boxes import limits
from boxes.failure import Failure

POLL_SECONDS = 0.2
DISK_LOOK_SECONDS = 1
SHORT_LIFE_SECONDS = 5
SHORT_LIVES = 3  # in a row, before the watchdog gives up


class Watchdog:
    """Says whether a router that was killed is started again."""

    def __init__(self):
        self.short_lives = 0

    def bite(self, life_seconds):
        self.short_lives = self.short_lives + 1 if life_seconds < SHORT_LIFE_SECONDS else 0
        if self.short_lives >= SHORT_LIVES:
            raise Failure(f"the box was killed {SHORT_LIVES} times in a row right after its start")


class DiskWatch:
    """Stops a box whose files take more of the machine's disk than they may."""

    def __init__(self, state):
        self.folders = [state.folder / name for name in ("etc", "var", "www")]
        self.next_look = 0.0

    def look(self):
        if time.monotonic() < self.next_look:
            return
        self.next_look = time.monotonic() + DISK_LOOK_SECONDS
        used = limits.disk_use(self.folders)
        if used > limits.DISK_SIZE:
            raise Failure(f"the router's files take {used // limits.MIB} MiB, more than the "
                          f"{limits.DISK_SIZE // limits.MIB} MiB that a box may: it was stopped")


def serve(box, followers, say):
    """Runs the box until it is stopped or fails; followers print what grows, say what happens to the box."""
    watchdog = Watchdog()
    disk = DiskWatch(box.state)
    while True:
        if box.state.factory_flag.exists():
            box.state.make_factory_fresh(box.state.model())
        box.boot()
        start = time.monotonic()
        while (end := box.end_of_boot(POLL_SECONDS)) is None:
            disk.look()
            show_all(followers)
        show_all(followers)
        if end == "killed":
            watchdog.bite(time.monotonic() - start)
            say("the router's first process was killed: the watchdog starts the router again")


def show_all(followers):
    for follower in followers:
        follower.show()
