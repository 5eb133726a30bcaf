# SPDX-License-Identifier: Apache-2.0
"""Which boxes this user runs: a folder of links to the state folders, one a box."""
import contextlib
import os
import signal
import stat
import time
from pathlib import Path

from boxes.failure import Failure
from boxes.state import State

STOP_SECONDS = 20


def folder():
    """The user's own folder for the links, made when it is not there."""
    runtime = os.environ.get("XDG_RUNTIME_DIR")
    path = Path(runtime, "aerolink-boxes") if runtime else Path(f"/tmp/aerolink-boxes-{os.geteuid()}")
    path.mkdir(mode=0o700, parents=True, exist_ok=True)
    facts = path.lstat()
    if not stat.S_ISDIR(facts.st_mode) or facts.st_uid != os.geteuid() or facts.st_mode & 0o022:
        raise Failure(f"{path} is not a folder that only its user can write to")
    return path


@contextlib.contextmanager
def registered(state):
    """Has the box in the list."""
    link = folder() / str(os.getpid())
    link.unlink(missing_ok=True)
    link.symlink_to(state.folder)
    try:
        yield
    finally:
        link.unlink(missing_ok=True)


def running():
    """The states of the boxes that run, and what is known of each, in the order of their start."""
    found = []
    for link in folder().iterdir():
        state = State(os.readlink(link))
        facts = state.description()
        if facts is None:
            forget_if_dead(link)
        elif str(facts["pid"]) == link.name:
            found.append((state, facts))
    return sorted(found, key=lambda entry: entry[1]["since"])


def forget_if_dead(link):
    """Removes the link of a box that was killed; one that only just starts has its process."""
    if not Path("/proc", link.name).exists():
        link.unlink(missing_ok=True)


def stop(state):
    """Stops the box that holds the state folder and waits for its end."""
    facts = state.description()
    if facts is None:
        raise Failure(f"no box runs in {state.folder}")
    os.kill(facts["pid"], signal.SIGTERM)
    deadline = time.monotonic() + STOP_SECONDS
    while state.is_in_use():
        if time.monotonic() > deadline:
            raise Failure(f"the box in {state.folder} does not stop: its process is {facts['pid']}")
        time.sleep(0.02)
