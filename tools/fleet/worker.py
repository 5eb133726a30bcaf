# SPDX-License-Identifier: Apache-2.0
"""What happens to a chunk of snapshots, wherever it is: `aerolink plan --stream` plans it, and its plans are summed up.

A worker of a cluster gets this module by value and need not have it: it uses the standard library and nothing else.

A sum, of a chunk or of a fleet:
    lines    how many devices were read
    errors   message, with N for numbers: row
    models   model: what: row; what is ("device", FACT) or ("key", KEY, OUTCOME, REASON)
    slowest  (seconds, number, id, model) of the device whose handler takes longest, or None
A row is [how many devices, up to three of them as (number, id), a note on the first one]. The number of a device is
that of its line in the whole fleet, from 0. Rows stand in the order of their first device.
"""
import json
import os
import pickle
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import zlib

EXAMPLES = 3
LONGEST_TEXT = 120  # of an id, a model or an error in a sum
WITHOUT_EFFECT = {"refused", "ignored", "unknown"}
LAN_ADDRESS = "network.lan.ipaddr"

PLACE_IN_CHUNK = re.compile(r"^standard input, line \d+: ")
NUMBER = re.compile(r"(?<![\w-])\d+\b")  # errors that differ in them are one
MOST_COMPLAINTS = 4000  # bytes

# A chunk that takes longer than this hangs.
SECONDS_A_CHUNK = 20
SECONDS_A_LINE = 0.1


class CannotPlan(Exception):
    """Something is wrong with this worker, not with a device."""


def planner():
    """The program to plan with: the front door, as the environment or the path names it."""
    program = os.environ.get("AEROLINK") or shutil.which("aerolink")
    if not program:
        raise CannotPlan("there is no aerolink in its PATH: install the kit there, or name the program in the "
                         "environment variable AEROLINK")
    return program


def version(program=None):
    """The version of the program that a worker plans with; CannotPlan when there is none."""
    program = program or planner()
    try:
        done = subprocess.run([program, "--version"], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              errors="replace", timeout=SECONDS_A_CHUNK, check=False)
    except (OSError, subprocess.TimeoutExpired) as failure:
        raise CannotPlan(f"{program} cannot be run: {failure}") from None
    if done.returncode:
        raise CannotPlan(f"{program} --version ends with status {done.returncode}")
    return done.stdout.strip()


def why_unfit(wanted, order):
    """Why this worker cannot plan as the order says, with that version; None when it can."""
    try:
        found = version(order["program"])
        if found != wanted:
            return f"it has {found}, not {wanted}"
        return run_planner(planning_command(order), order["request"].encode(), b"", SECONDS_A_CHUNK)[1]
    except CannotPlan as failure:
        return str(failure)


def plan_chunk(chunk, order):
    """Plans the lines of a chunk, a dictionary of

        text     whole lines, or their zlib form when `packed`
        first    number of the first one
        name     of the file, and `line`, its line there, from 1

    as the order says, a dictionary of "request" (its JSON text), "route", "plans" (whether plans are wanted) and
    "program" (None: the worker's own). Returns the sum and the plans' lines, b"" when they are not wanted; both packed
    as the chunk is.
    """
    text = zlib.decompress(chunk["text"]) if chunk["packed"] else chunk["text"]
    plans = []
    total = empty_sum()
    for position, line in planned(planning_command(order), order["request"].encode(), text):
        place = f"{chunk['name']}:{chunk['line'] + position}"
        line = add_plan(total, line, chunk["first"] + position, place)
        if order["plans"]:
            plans.append(line)
    joined = b"".join(plans)
    return total, zlib.compress(joined, 1) if chunk["packed"] else joined


def serve(requests, answers):
    """Plans chunk after chunk: pairs (chunk, order) come in, pairs (result of plan_chunk, why it cannot) go out."""
    while True:
        try:
            chunk, order = pickle.load(requests)
        except EOFError:
            return
        try:
            answer = plan_chunk(chunk, order), None
        except CannotPlan as failure:
            answer = None, str(failure)
        pickle.dump(answer, answers, pickle.HIGHEST_PROTOCOL)
        answers.flush()


def planning_command(order):
    return [order["program"] or planner(), "plan", "--stream", "--route", order["route"]]


# Planning.

def planned(command, request, text):
    """Yields the position of each line in the text and its plan's line; a blank line has none. A line at which the
    planner fails gets an error instead."""
    lines = text.count(b"\n")
    plans, failure = run_planner(command, request, text, SECONDS_A_CHUNK + lines * SECONDS_A_LINE)
    if len(plans) == lines:
        return enumerate(plans)
    devices = [(position, line + b"\n") for position, line in enumerate(text.split(b"\n")) if line.strip(b" \t\r")]
    return attributed(command, request, devices, plans, failure)


def attributed(command, request, devices, plans, failure):
    """What planned() yields, when the planner has made these plans of the devices and then failed so."""
    if len(plans) > len(devices):
        raise CannotPlan(f"the planner made {len(plans)} plans of {len(devices)} snapshots")
    if len(plans) < len(devices) and not failure:
        plans = []  # nobody knows whose they are
    yield from zip((position for position, _ in devices), plans)
    missing = devices[len(plans):]
    if len(missing) == 1:
        error = {"id": None, "error": failure or "the planner made no plan"}
        yield missing[0][0], json.dumps(error).encode() + b"\n"
    elif missing:
        middle = len(missing) // 2
        for half in (missing[:middle], missing[middle:]):
            text = b"".join(line for _, line in half)
            seconds = SECONDS_A_CHUNK + len(half) * SECONDS_A_LINE
            yield from attributed(command, request, half, *run_planner(command, request, text, seconds))


def run_planner(command, request, text, seconds):
    """The whole lines that the planner prints in this time, and what is wrong with its end, or None."""
    with in_memory(request) as request_file, in_memory(text) as snapshots, tempfile.TemporaryFile() as complaints:
        request_path = f"/dev/fd/{request_file.fileno()}"
        with subprocess.Popen([*command, request_path], stdin=snapshots, stdout=subprocess.PIPE, stderr=complaints,
                              pass_fds=[request_file.fileno()]) as process:
            watch = threading.Timer(seconds, process.kill)
            watch.start()
            try:
                plans = process.stdout.readlines()
            finally:
                watch.cancel()
        if plans and not plans[-1].endswith(b"\n"):
            plans.pop()
        complaints.seek(0)
        said = complaints.read(MOST_COMPLAINTS).decode(errors="replace").replace(request_path, "the request")
        return plans, how_it_ended(process.returncode, said) if process.returncode else None


def in_memory(content):
    file = os.fdopen(os.memfd_create("aerolink"), "r+b", buffering=0)
    write_all(file, content)
    file.seek(0)
    return file


def write_all(file, content):
    """To a file without a buffer, which may take less at a time."""
    written = 0
    with memoryview(content) as rest:
        while written < len(rest):
            written += file.write(rest[written:])


def how_it_ended(status, said):
    if status == -signal.SIGKILL:
        return "the planner was killed, or took too long"
    if status < 0:
        return f"the planner was ended by {signal.Signals(-status).name}"
    return said.strip().removeprefix("aerolink plan: ") or f"the planner ended with status {status}"


# Summing up.

def empty_sum():
    return {"lines": 0, "errors": {}, "models": {}, "slowest": None}


def add_plan(total, line, number, place):
    """Adds a plan to the sum, and returns its line. An error tells the place of its device in the fleet; the place also
    stands for a device without an id."""
    try:
        plan = json.loads(line.decode(errors="replace"))
        name = plan.get("id")
        device = (number, place if name in (None, "") else shortened(str(name)))
        if "error" in plan:
            reason = PLACE_IN_CHUNK.sub("", plan["error"])
            count(total["errors"], shortened(NUMBER.sub("N", reason)), device)
            line = json.dumps({"id": name, "error": f"{place}: {reason}"}, ensure_ascii=False).encode() + b"\n"
        else:
            add_outcomes(total, plan, device)
    except (ValueError, TypeError, LookupError, AttributeError):
        raise CannotPlan(f"the planner printed what is no plan: {line[:LONGEST_TEXT]}") from None
    total["lines"] += 1
    return line


def add_outcomes(total, plan, device):
    rows = total["models"].setdefault(shortened(plan["model"]), {})
    outcomes = set()
    for key in plan["keys"]:
        outcome = key["outcome"]
        outcomes.add(outcome)
        count(rows, ("key", key["key"], outcome, key.get("reason", "")), device, key)
    for fact in device_facts(plan, outcomes):
        count(rows, ("device", fact), device)
    seconds = plan["seconds"]
    if total["slowest"] is None or seconds > total["slowest"][0]:
        total["slowest"] = (seconds, *device, plan["model"])


def shortened(text):
    return text if len(text) <= LONGEST_TEXT else text[:LONGEST_TEXT] + "..."


def device_facts(plan, outcomes):
    changes = plan["changes"]
    yield "changed" if changes or plan.get("uncommitted") or "applied" in outcomes else "unchanged"
    yield from WITHOUT_EFFECT & outcomes
    yield plan["then"]
    if any(change["path"] == LAN_ADDRESS for change in changes):
        yield "lan_address_changed"
    if plan["radios_on"] == 0:
        yield "no_radio"


def count(rows, what, device, noted=None):
    row = rows.get(what)
    if row is None:
        rows[what] = [1, [device], note(noted) if noted else None]
        return
    row[0] += 1
    if len(row[1]) < EXAMPLES:
        row[1].append(device)


def note(key):
    """What a plan says of a key beside its outcome."""
    return {name: key[name] for name in ("message", "suggestion") if name in key}


if __name__ == "__main__":
    serve(sys.stdin.buffer, sys.stdout.buffer)
