# SPDX-License-Identifier: Apache-2.0
"""A device on the desk: its configuration as files that the kit's `uci` keeps, and pushes as `aerolink plan` says."""
import json
import os
import subprocess
import tempfile
from pathlib import Path

AEROLINK, UCI = os.environ["AEROLINK"], os.environ["UCI"]


def aerolink(*arguments, text=None):
    done = subprocess.run([AEROLINK, *arguments], input=text, capture_output=True, text=True, check=False)
    if done.returncode:
        raise AssertionError(f"aerolink {arguments}: {done.stderr}")
    return done.stdout


class Planner:
    """One `aerolink plan --stream` for many questions."""

    def __init__(self):
        self._process = subprocess.Popen([AEROLINK, "plan", "--stream"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         text=True, bufsize=1)

    def plan(self, snapshot, request):
        self._process.stdin.write(json.dumps(snapshot | {"request": request}) + "\n")
        self._process.stdin.flush()
        answer = json.loads(self._process.stdout.readline())
        if "error" in answer:
            raise AssertionError(answer)
        return answer

    def close(self):
        self._process.stdin.close()
        self._process.wait()
        self._process.stdout.close()


class Device:
    """Starts as its model leaves the factory."""

    def __init__(self, model, planner, facts=()):
        self._folder = tempfile.TemporaryDirectory()
        self._config = Path(self._folder.name) / "config"
        self._config.mkdir()
        self._planner = planner
        self.facts = json.loads(aerolink("snapshot", "--model", model)) | dict(facts)
        for package in self.facts.pop("uci").split("package ")[1:]:
            name = package.split("\n", 1)[0].strip("'")
            (self._config / name).write_text("package " + package, encoding="utf-8")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._folder.cleanup()

    def uci(self, *arguments):
        done = subprocess.run([UCI, "-c", self._config, "-t", self._config.parent / "delta", *arguments],
                              capture_output=True, text=True, check=False)
        if done.returncode:
            raise AssertionError(f"uci {arguments}: {done.stderr}")
        return done.stdout

    def set(self, path, value):
        """value: None takes the option away."""
        self.uci(*(("delete", path) if value is None else ("set", f"{path}={value}")))
        self.uci("commit", path.split(".")[0])

    def snapshot(self):
        return self.facts | {"uci": self.uci("export")}

    def push(self, request):
        """The plan of the request; its changes become the device's."""
        plan = self._planner.plan(self.snapshot(), request)
        if plan.get("uncommitted"):
            raise AssertionError(plan["uncommitted"])
        for change in plan["changes"]:
            self.set(change["path"], change["to"])
        return plan

    def export(self):
        return json.loads(aerolink("export", "--json", "--device", "-", text=json.dumps(self.snapshot())))

    def options(self):
        """Every option and section by the section's own name: path to value as `uci show` quotes it."""
        return dict(line.split("=", 1) for line in self.uci("-X", "show").splitlines())

    def resolve(self, path):
        """The path as options() has it."""
        package, section, option = path.split(".", 2)
        if not section.startswith("@"):
            return path
        kind, place = section[1:-1].split("[")
        names = [line.split("=")[0] for line in self.uci("-X", "show", package).splitlines()
                 if line.count(".") == 1 and line.endswith(f"={kind}")]
        return f"{names[int(place)]}.{option}"
