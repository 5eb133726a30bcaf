# SPDX-License-Identifier: Apache-2.0
"""The conformance program, copied to a router in a box and run there."""
import os
import re
import shlex
import shutil
from typing import NamedTuple

from router import SOURCE, Router

PROGRAM = "/var/conformance"
FAULTS = "/var/faults.so"

LINE = re.compile(r"(ok|FAIL|skipped) +(\w+ [^:]+)(?:: (.*))?")


def platform_functions():
    """What the headers declare, but for zuci2_free: that it works shows in every check that opens a context."""
    headers = "".join((SOURCE / f"platform/{name}.h").read_text(encoding="ascii") for name in ("zuutil", "zuwificore"))
    return set(re.findall(r"^[a-z].*?\b(\w+)\(", headers, re.MULTILINE)) - {"zuci2_free"}


class Line(NamedTuple):
    verdict: str
    contract: str
    reason: str


class Outcome(NamedTuple):
    status: int
    lines: list
    summary: str

    def of(self, verdict):
        return {line.contract: line.reason for line in self.lines if line.verdict == verdict}


def start(model):
    """A booted router with the program and its faulty libraries."""
    router = Router(model)
    router.wait_until_booted()
    for name, path in (("CONFORMANCE", PROGRAM), ("FAULTS", FAULTS)):
        shutil.copy(os.environ[name], f"{router.state}{path}")
    return router


def check(router, *words, fault=None):
    """Runs the program with these words."""
    preload = f"FAULT={shlex.quote(fault)} LD_PRELOAD={FAULTS} " if fault else ""
    done = router.run(f"{preload}{PROGRAM} {shlex.join(words)}")
    *lines, summary = done.stdout.splitlines() or [done.stderr]
    return Outcome(done.returncode, [Line(*LINE.fullmatch(line).groups("")) for line in lines], summary)
