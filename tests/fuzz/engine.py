# SPDX-License-Identifier: Apache-2.0
"""Runs the programs that search for faults, as the tests and the soak do."""

import os
import re
import subprocess
import time
from collections import namedtuple
from pathlib import Path

HERE = Path(__file__).resolve().parent

# The longest input that is tried, in bytes.
LONGEST = {"regex": 120, "uci_text": 600, "uci_store": 160, "apid": 400, "handlers": 200, "plan": 400}
TARGETS = tuple(LONGEST)

LONGEST_RUN = 20  # seconds that one input may take, on a machine that is busy with other tests

Outcome = namedtuple("Outcome", "executions seconds edges edges_in_all finding report")


def inputs(target):
    """The folders of committed inputs: where a search begins, and what has failed before."""
    return [str(folder) for folder in (HERE / "corpus" / target, HERE / "found" / target) if folder.is_dir()]


def environment():
    # Where memory was allocated is costly to keep; who runs a finding alone sees it.
    return {**os.environ, "ASAN_OPTIONS": "malloc_context_size=0:quarantine_size_mb=16:detect_stack_use_after_return=1"}


def replay(program):
    """Runs every committed input once; the exit status."""
    files = [str(path) for folder in inputs(program.name) for path in sorted(Path(folder).iterdir())]
    if not files:
        raise SystemExit(f"{program.name} has no inputs")
    return subprocess.run([program, f"-timeout={LONGEST_RUN}", *files], env=environment()).returncode


def figure(pattern, report):
    found = re.findall(pattern, report)
    return int(found[-1]) if found else 0


def summary(report):
    """The line that says what was found, or nothing."""
    found = re.search(r"^(broken: .*|SUMMARY: .*|.*runtime error: .*)$", report, re.MULTILINE)
    return found.group(0) if found else ""


def search(program, seconds, corpus, artifacts, seed=0):
    """Searches with one program; what is new goes into the folder corpus, an input that fails into artifacts. seed: 0 for
    another search each time."""
    corpus.mkdir(parents=True, exist_ok=True)
    artifacts.mkdir(parents=True, exist_ok=True)
    target = program.name
    dictionary = HERE / "dictionaries" / f"{target}.dict"
    options = [f"-max_total_time={seconds}", f"-max_len={LONGEST[target]}", "-len_control=20", f"-timeout={LONGEST_RUN}",
               "-rss_limit_mb=1024", "-print_final_stats=1", f"-seed={seed}", f"-artifact_prefix={artifacts}/",
               *([f"-dict={dictionary}"] if dictionary.exists() else [])]
    start = time.monotonic()
    run = subprocess.run([program, *options, corpus, *inputs(target)], env=environment(), stdout=subprocess.PIPE,
                         stderr=subprocess.STDOUT, encoding="utf-8", errors="replace")
    seconds = round(time.monotonic() - start)
    report = run.stdout
    is_fine = run.returncode == 0 or "run interrupted; exiting" in report
    finding = None if is_fine else summary(report) or f"status {run.returncode}"
    return Outcome(figure(r"stat::number_of_executed_units:\s+(\d+)", report) or figure(r"^#(\d+)", report),
                   seconds, figure(r"cov: (\d+)", report), figure(r"Loaded \d+ modules\s+\((\d+)", report), finding, report)
