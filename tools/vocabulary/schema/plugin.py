# SPDX-License-Identifier: Apache-2.0
"""What the plug-in says of itself and what it does, as the command `aerolink` tells."""
import json
import os
import subprocess
import sys
from dataclasses import dataclass
from functools import cache, cached_property
from pathlib import Path

import uci_text


@dataclass(frozen=True)
class Meaning:
    """A row of the table of keys."""
    name: str
    title: str
    unit: str
    group: str
    kind: str
    secret: bool
    example: object
    other: object
    description: str
    words: tuple


class Failed(Exception):
    """A program that did not do what was asked of it; the text says why."""


class Plugin:
    """One build of the plug-in, reached through the command `aerolink`; arguments: such as --plugin FILE."""

    def __init__(self, arguments=(), aerolink=None):
        self.aerolink = aerolink or _front_door()
        self.arguments = list(arguments)
        self.remembered = {}  # what was found out about it

    @cached_property
    def description(self):
        return json.loads(self._run(["describe", *self.arguments]))

    @cached_property
    def meanings(self):
        """Key to its row, in the order of forms and documents."""
        return {row["name"]: Meaning(**{**row, "words": tuple(row["words"])}) for row in self.description["keys"]}

    @cached_property
    def routes(self):
        """Path to method, in the order of the route table."""
        return {row["path"]: row["method"] for row in self.description["routes"]}

    @cached_property
    def options(self):
        """Option of any table to its key."""
        return {row["path"]: row["key"] for rows in self.description["tables"].values() for row in rows}

    @cached_property
    def patterns(self):
        """Key to every pattern that a table has for it."""
        found = {}
        for rows in self.description["tables"].values():
            for row in rows:
                if row["pattern"] is not None:
                    found.setdefault(row["key"], {})[row["pattern"]] = None
        return {key: list(patterns) for key, patterns in found.items()}

    @cached_property
    def models(self):
        """Model to the snapshot of a device fresh from the factory."""
        snapshots = map(json.loads, self._run(["snapshot", "--all-models"]).splitlines())
        return {snapshot["model"]: snapshot for snapshot in snapshots}

    @cache
    def filled(self, model):
        """A device whose options all hold something, whatever the factory put there."""
        device = self.models[model]
        return {**device, "uci": uci_text.with_options(device["uci"], {
            path: self.meanings[key].other for path, key in self.options.items()})}

    @cache
    def empty(self, model):
        """A device whose options are all unset."""
        device = self.models[model]
        return {**device, "uci": uci_text.without(device["uci"], self.options)}

    def rehearse(self, plays, with_keys=True):
        """The plans of (snapshot, route, request), in order; without the outcomes of keys it takes less time."""
        lines = "".join(json.dumps({**snapshot, "route": route, "request": request}) + "\n"
                        for snapshot, route, request in plays)
        out = self._run(["plan", *self.arguments, "--stream", *([] if with_keys else ["--without-keys"])], lines)
        return [json.loads(line) for line in out.split("\n") if line]

    def _run(self, command, text=""):
        try:
            done = subprocess.run([self.aerolink, *command], input=text, capture_output=True, text=True, check=False)
        except OSError as problem:
            raise Failed(f"{self.aerolink}: {problem.strerror}") from problem
        if done.returncode != 0:
            said = done.stderr.strip().removeprefix(f"aerolink {command[0]}: ")
            raise Failed(said or _first_error(done.stdout) or f"aerolink {command[0]} ended with {done.returncode}")
        return done.stdout


def _first_error(out):
    return next((line for line in out.splitlines() if '"error": ' in line), "")


def _front_door():
    """The front door names itself to the programs that it runs; otherwise it is beside this one."""
    return os.environ.get("AEROLINK") or str(Path(os.path.abspath(sys.argv[0])).parent / "aerolink")
