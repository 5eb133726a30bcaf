# SPDX-License-Identifier: Apache-2.0
"""A router whose power a test holds in its hand."""
import os
import select
import shutil
import signal
import sys
import tempfile
from pathlib import Path

from router import BOX, IMAGE, PATIENCE, Router, wait_for
from watched import WatchedRouter

sys.path.append(str(BOX.parent))
from boxes.container import Box, listen  # noqa: E402  its folder had to be named first
from boxes.state import State  # noqa: E402


def first_process_below(process):
    """The first process of the PID namespace that a descendant of the process has made; None while there is none."""
    children = Path(f"/proc/{process}/task/{process}/children")
    for child in children.read_text(encoding="ascii").split():
        status = Path(f"/proc/{child}/status").read_text(encoding="ascii", errors="replace")
        numbers = next(line.split()[1:] for line in status.splitlines() if line.startswith("NSpid:"))
        if len(numbers) > 1 and numbers[-1] == "1":
            return int(child)
    return None


class PoweredRouter(Router):
    """No watchdog and no supervisor: it runs from power_on to cut_power, and its configuration stays."""

    def __init__(self, model):
        self.model = model
        self.own_folder = Path(tempfile.mkdtemp(prefix="router-"))
        self.state = self.own_folder / "state"
        self.listener = listen("127.0.0.1", 0, "nothing: 0 takes a free one")
        self.box = Box(State(self.state), self.listener)
        self.box.state.lock()
        self.box.state.prepare(model, IMAGE)
        self.url = self.box.url

    run = WatchedRouter.run

    def power_on(self):
        """Returns when the API answers, which is the last that a boot starts."""
        self.box.boot()
        self.get("/cloud/aerolink/get")

    def first_process(self):
        return wait_for("the first process", lambda: first_process_below(self.box.process.pid))

    def cut_power(self):
        """Kills the namespace's first process, and by that all others in the same moment; returns when all are gone."""
        first = os.pidfd_open(self.first_process())
        try:
            signal.pidfd_send_signal(first, signal.SIGKILL)
            # The kernel reports its end when no other process of the namespace is left.
            if not select.select([first], [], [], PATIENCE)[0]:
                raise AssertionError("a process outlives the power")
        finally:
            os.close(first)
        self.box.power_off()

    def stop(self, _=None):
        self.box.power_off()
        self.listener.close()
        shutil.rmtree(self.own_folder, ignore_errors=True)
