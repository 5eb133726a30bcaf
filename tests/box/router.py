# SPDX-License-Identifier: Apache-2.0
"""Starts a router in a box for a test, and looks at it from all sides."""
import json
import os
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import NamedTuple

SOURCE = Path(__file__).resolve().parents[2]
BOX = SOURCE / "devkit/router/box"
IMAGE = Path(os.environ["ROUTER_IMAGE"])
PATIENCE = 30  # seconds before a test gives up on the router


def models():
    return run_box("models").stdout.split()


def run_box(*arguments):
    """Runs the box program to its end."""
    return subprocess.run([sys.executable, BOX, *arguments], capture_output=True, text=True, check=False,
                          timeout=2 * PATIENCE)


def wait_for(what, condition):
    """The condition's value as soon as it is true."""
    deadline = time.monotonic() + PATIENCE
    while not (value := condition()):
        if time.monotonic() > deadline:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.02)
    return value


class Reply(NamedTuple):
    status: int
    result: int
    response: dict


class Router:
    """A running router of a model, fresh from the factory unless its state folder was used before."""

    def __init__(self, model, state=None):
        self.model = model
        self.own_folder = None if state else Path(tempfile.mkdtemp(prefix="router-"))
        self.state = Path(state or self.own_folder / "state")
        self.process = subprocess.Popen([sys.executable, BOX, "run", "--model", model, "--image", IMAGE,
                                         "--state", self.state, "--port", "0"],
                                        stdout=subprocess.PIPE, text=True)
        ready = self.process.stdout.readline()
        if " listens on " not in ready:
            raise AssertionError(f"the box did not start: {ready}{self.process.communicate()[0]}")
        self.url = ready.split()[-1]

    def stop(self, signal_number=signal.SIGTERM):
        """Stops the box, unless it has stopped; its exit status."""
        self.process.send_signal(signal_number)
        self.process.communicate(timeout=PATIENCE)
        if self.own_folder:
            shutil.rmtree(self.own_folder, ignore_errors=True)
        return self.process.returncode

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    def get(self, path, names=()):
        query = [word for name in names for word in ("--data-urlencode", f"name={name}")]
        return self._curl("--get", *query, self.url + path)

    def post(self, path, request):
        # As it is meant: what json-c 0.16 makes of some escapes (U+1D801 in two) is another text.
        body = json.dumps(request, ensure_ascii=False)
        return self._curl("--header", "Content-Type: application/json", "--data-binary", body, self.url + path)

    def _curl(self, *arguments):
        output = subprocess.run(["curl", "--silent", "--show-error", "--max-time", str(PATIENCE),
                                 "--write-out", "\n%{http_code}", *arguments],
                                capture_output=True, text=True, check=True).stdout
        body, _, status = output.rpartition("\n")
        reply = json.loads(body)
        return Reply(int(status), reply["result"], reply["response"])

    def run(self, command):
        """Runs a shell command in the router."""
        return run_box("exec", "--state", self.state, "--timeout", str(PATIENCE), command)

    def shell(self, command):
        """The output of a shell command that must succeed."""
        done = self.run(command)
        if done.returncode != 0:
            raise AssertionError(f"{command}: status {done.returncode}\n{done.stdout}{done.stderr}")
        return done.stdout

    def read(self, path):
        return self.shell(f"cat {shlex.quote(path)}")

    def exists(self, path):
        return self.run(f"[ -e {shlex.quote(path)} ]").returncode == 0

    def uci(self):
        """The whole configuration: UCI path to value."""
        lines = self.shell("for file in /etc/config/*; do uci show ${file##*/} || exit; done").splitlines()
        options = (line.partition("=") for line in lines)
        return {path: " ".join(shlex.split(value)) for path, _, value in options}

    def journal(self):
        """What the router's programs were asked so far: lists of program and arguments."""
        lines = (self.state / "var/log/journal").read_text(encoding="utf-8").splitlines()
        return [shlex.split(line.replace("'$'\\n''", "\n"))[1:] for line in lines]

    def log(self):
        return self.shell("logread").splitlines()

    def wait_until_booted(self):
        """For a new router: its updater is the last that boot starts."""
        wait_for("the boot", lambda: ["zuautoupdater"] in self.journal())

    def boots(self):
        return self.journal().count(["boot"])
