# SPDX-License-Identifier: Apache-2.0
"""Runs the command `aerolink` as its users do."""
import copy
import functools
import json
import os
import subprocess

AEROLINK = os.environ["AEROLINK"]
OPTIONS = os.environ.get("AEROLINK_OPTIONS", "").split()  # another build's plug-ins, for the commands that take them


def run(*arguments, stdin="", program=AEROLINK, **environment):
    """The finished process; texts are bytes when stdin is."""
    own = os.environ | {"TERM": "xterm"} | environment
    words = [arguments[0], *OPTIONS, *arguments[1:]] if arguments[:1] in (("plan",), ("check",)) else arguments
    return subprocess.run([program, *words], input=stdin, capture_output=True, text=isinstance(stdin, str), timeout=60,
                          env=own, check=False)


@functools.cache
def _factory():
    lines = run("snapshot").stdout.splitlines()
    return {line["model"]: line for line in map(json.loads, lines)}


def models():
    return list(_factory())


def factory(model, **changes):
    """A device of the model fresh from the factory, with some members changed."""
    return copy.deepcopy(_factory()[model]) | changes


def stream(lines, *arguments):
    """The plans for these devices, and the finished process."""
    text = "".join(json.dumps(line) + "\n" for line in lines)
    done = run("plan", "--stream", *arguments, stdin=text)
    return [json.loads(line) for line in done.stdout.splitlines()], done


def plan(request, device="heron", route="batch_set"):
    """The plan of a request for a device, or for one of a model fresh from the factory."""
    line = dict(factory(device) if isinstance(device, str) else device)
    plans, done = stream([line | {"request": request, "route": route}])
    assert done.returncode == 0 and len(plans) == 1, done
    return plans[0]


def outcomes(made):
    return {each["key"]: each["outcome"] for each in made["keys"]}
