# SPDX-License-Identifier: Apache-2.0
"""Measurements of the kit's programs on this machine. None of them runs a command of the plug-in's out here."""
import importlib.machinery
import importlib.util
import itertools
import json
import re
import subprocess
import sys
import tempfile
import time
import urllib.request
from collections import defaultdict
from pathlib import Path

from measures.inside import BOX, BUILD, ROOT, in_memory
from measures.samples import Sample, Samples, in_turn, run_once

sys.path.insert(0, str(ROOT / "devkit/router"))
from boxes.container import check_bubblewrap  # noqa: E402

# --- The program uci ------------------------------------------------------------------------------

SECTIONS = 3000
SETS = 300
PACKAGE = "".join(f"\nconfig rule 'r{number}'\n\toption src 'lan'\n\toption dest_port '{number}'\n"
                  "\toption target 'ACCEPT'\n" for number in range(SECTIONS))
BATCH = "".join(f"set big.r{number * 7}.src='w{number}'\n" for number in range(SETS))


def uci(rounds):
    """`show`, a batch of settings and their `commit` on a large package, and sorting the lines of its file, a known
    amount of work that begins with the start of a process too."""
    samples = Samples()
    with tempfile.TemporaryDirectory(prefix="bench-", dir=in_memory()) as folder:
        top = Path(folder)
        for name in ("config", "delta"):
            (top / name).mkdir()
        package, delta, batch = top / "config/big", top / "delta/big", top / "batch"
        batch.write_text(BATCH, encoding="ascii")
        program = [BUILD / "devkit/uci/uci", "-c", top / "config", "-t", top / "delta"]

        def start(recorded=b""):
            package.write_text(PACKAGE, encoding="ascii")
            delta.write_bytes(recorded)

        def run_batch():
            start()
            with batch.open("rb") as lines:
                return run_once([*program, "batch"], stdin=lines)

        def commit():
            start(changes)
            return run_once([*program, "commit", "big"])

        run_batch()
        changes = delta.read_bytes()
        in_turn(samples, "uci", rounds, {
            "sort": lambda: run_once(["sort", package], env={"LC_ALL": "C", "PATH": "/usr/bin:/bin"}),
            "show": lambda: start() or run_once([*program, "show", "big"]), "batch": run_batch, "commit": commit})
    return samples


# --- The cloud log --------------------------------------------------------------------------------

LOG_LINES = (10_000, 100_000, 1_000_000)


class LogRound:
    """One run of the player of large logs: KiB and seconds of processor time, by what was done."""

    def __init__(self, lines):
        output = subprocess.run([BUILD / "tests/recorded/big_log/big_log", BUILD / "aerolink.so", str(lines)],
                                capture_output=True, text=True, check=True).stdout
        found = re.findall(r"^(.+?) +(\d+) KiB +([\d.]+) s$", output, re.MULTILINE)
        self.of = {name: (int(kib), float(seconds)) for name, kib, seconds in found}

    def memory(self, name):
        return self.of[name][0] - self.of["idle"][0]

    def seconds(self):
        return self.of["plug-in"][1] - self.of["idle"][1]


def log(rounds, lines=LOG_LINES):
    """{lines: rounds}"""
    found = defaultdict(list)
    for number in range(rounds):
        for turn in range(len(lines)):
            size = lines[(number + turn) % len(lines)]
            found[size].append(LogRound(size))
    return found


# --- Plans ----------------------------------------------------------------------------------------

DEVICES = (100, 300, 1_000, 3_000)


def bench_plan():
    """bench/plan, which has no ending that an import would find."""
    loader = importlib.machinery.SourceFileLoader("bench_plan", str(ROOT / "bench/plan"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
    loader.exec_module(module)
    return module


def plans(rounds):
    """Processor seconds of a push planned for fleets of growing size; the case is the push."""
    bench = bench_plan()
    program = BUILD / "tools/aerolink"
    lines = list(itertools.islice(bench.devices(program), max(DEVICES)))
    samples = Samples()
    for name, request in bench.PUSHES.items():
        def plan(count, request=request):
            start = time.monotonic()
            seconds, _ = bench.measure(program, request, lines[:count])
            return Sample(time.monotonic() - start, seconds)

        in_turn(samples, name, rounds, {count: lambda count=count: plan(count) for count in DEVICES})
    return samples


# --- Starts ---------------------------------------------------------------------------------------


def first_answer(command, folder):
    """Seconds from the start of a command that runs a box to its first answer."""
    start = time.monotonic()
    process = subprocess.Popen([*command, "--model", "heron", "--port", "0", "--state", folder], cwd=ROOT,
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    try:
        address = process.stdout.readline().split()[-1]
        with urllib.request.urlopen(address + "/cloud/aerolink/get", timeout=60) as reply:
            json.load(reply)
        return Sample(time.monotonic() - start, 0)
    finally:
        process.terminate()
        process.communicate(timeout=60)


def empty_container():
    start = time.monotonic()
    check_bubblewrap()
    return Sample(time.monotonic() - start, 0)


def starts(rounds):
    """A box, a second ./run (all is built, the state folder is there), and a container in which nothing happens."""
    samples = Samples()
    with tempfile.TemporaryDirectory(prefix="bench-", dir=in_memory()) as folder:
        Path(folder).chmod(0o755)
        box = [sys.executable, BOX, "run", "--image", BUILD / "devkit/router/image"]
        in_turn(samples, "start", rounds, {
            "container": empty_container,
            "box": lambda: first_answer(box, f"{folder}/box"),
            "run": lambda: first_answer(["./run", "--no-console"], f"{folder}/run")})
    return samples


# --- The tests, as the last runs of CTest recorded them -------------------------------------------


def test_times():
    """Seconds by test, averaged over the runs in this build folder, and how many tests there are."""
    listing = subprocess.run(["ctest", "--test-dir", BUILD, "--show-only=json-v1"], capture_output=True, text=True,
                             check=True).stdout
    names = {test["name"] for test in json.loads(listing)["tests"]}
    record = BUILD / "Testing/Temporary/CTestCostData.txt"
    times = {}
    for line in record.read_text(encoding="utf-8").splitlines() if record.exists() else ():
        if line == "---":
            break
        name, _, seconds = line.rsplit(" ", 2)
        if name in names:
            times[name] = float(seconds)
    return times, len(names)
