# SPDX-License-Identifier: Apache-2.0
"""Runs shell commands in a running box."""
import contextlib
import os
import shutil
import tempfile
import time
from pathlib import Path
from typing import NamedTuple

from boxes.failure import Failure
from boxes.state import give_to_box_user

POLL_SECONDS = 0.002


class Done(NamedTuple):
    status: int
    output: bytes
    errors: bytes


@contextlib.contextmanager
def job_folder(state, command):
    """A folder with a shell command for the box; gone at the end, whatever happens."""
    try:
        job = Path(tempfile.mkdtemp(prefix="job", dir=state.control))
    except FileNotFoundError:
        raise no_box(state) from None
    try:
        (job / "command").write_text(command, encoding="utf-8")
        give_to_box_user(job)
        yield job
    finally:
        shutil.rmtree(job, ignore_errors=True)


def hand_over(state, job):
    """Tells the box of a job; False while it does not listen."""
    try:
        bell = os.open(state.control / "bell", os.O_WRONLY | os.O_NONBLOCK)
    except OSError:
        return False
    os.write(bell, job.name.encode() + b"\n")
    os.close(bell)
    return True


def no_box(state):
    return Failure(f"no box runs in {state.folder}")


def boot_number(state):
    try:
        return state.boots.read_text(encoding="ascii")
    except FileNotFoundError:
        raise no_box(state) from None


def execute(state, command, timeout):
    """Runs a shell command in the box and waits for its end."""
    if not state.is_in_use():
        raise no_box(state)
    deadline = time.monotonic() + timeout
    with job_folder(state, command) as job:
        boot = None
        while not (job / "status").exists():
            if time.monotonic() > deadline:
                raise Failure(f"no end after {timeout:g} seconds" if boot else "the box does not listen yet")
            current_boot = boot_number(state)
            if boot is None:
                boot = current_boot if hand_over(state, job) else None
            elif current_boot != boot:
                raise Failure("the router restarted")
            time.sleep(POLL_SECONDS)
        return Done(int((job / "status").read_text(encoding="ascii")), (job / "output").read_bytes(),
                    (job / "errors").read_bytes())
