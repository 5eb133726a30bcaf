# SPDX-License-Identifier: Apache-2.0
"""The configuration that a router of each model has when it leaves the factory, as a value that can be changed.

A configuration is a dictionary of packages in the order of `uci export`; a package is a list of sections.
"""
import json
import os
import subprocess
from typing import NamedTuple


class Section(NamedTuple):
    type: str
    name: str | None  # None: anonymous
    options: dict


def snapshots():
    """Model: its snapshot, in the order in which the kit has them."""
    listed = subprocess.run([os.environ.get("AEROLINK", "aerolink"), "snapshot", "--all-models"],
                            stdout=subprocess.PIPE, check=True).stdout
    return {snapshot["model"]: snapshot for snapshot in map(json.loads, listed.splitlines())}


def parse(text):
    """The configuration of what `uci export` has printed: one command a line, values in single quotes."""
    configuration = {}
    sections = []
    for line in text.splitlines():
        match line.split(maxsplit=2):
            case ["package", name]:
                sections = configuration.setdefault(name, [])
            case ["config", kind, *name]:
                sections.append(Section(kind, unquoted(name[0]) if name else None, {}))
            case ["option", name, value]:
                sections[-1].options[name] = unquoted(value)
            case []:
                pass
            case _:
                raise ValueError(f"not a line of a factory's configuration: {line}")
    return configuration


def unquoted(word):
    if len(word) < 2 or word[0] != "'" or word[-1] != "'" or "'" in word[1:-1]:
        raise ValueError(f"not in single quotes: {word}")
    return word[1:-1]


def copy(configuration):
    return {package: [Section(section.type, section.name, section.options.copy()) for section in sections]
            for package, sections in configuration.items()}


def export(configuration):
    """The text that `uci export` prints; an option of None or "" is one that is not there."""
    parts = []
    for package, sections in configuration.items():
        parts.append(f"package {package}\n\n")
        for kind, name, options in sections:
            parts.append(f"config {kind}\n" if name is None else f"config {kind} '{name}'\n")
            parts += [f"\toption {option} '{value}'\n" if "'" not in value else f"\toption {option} {quoted(value)}\n"
                      for option, value in options.items() if value]
            parts.append("\n")
    return "".join(parts)


def quoted(value):
    return "'" + value.replace("'", "'\\''") + "'"
