# SPDX-License-Identifier: Apache-2.0
"""Reads what `uci show` prints."""
import re
import shlex


def parse_show(text):
    """The output of `uci show`: path to value, list values joined by a space."""
    result = {}
    for line in re.findall(r"((?:[^'\\\n]|\\.|'[^']*')+)\n", text):
        path, _, value = line.partition("=")
        result[path] = " ".join(shlex.split(value)) if "'" in value else value
    return result


def resolve(path, configuration):
    """The path as `uci show` has it: a section by its own name, or "@type[n]" when it has none."""
    found = re.fullmatch(r"([^.]*)\.@([^.\[]*)\[(\d+)\](.*)", path)
    if not found:
        return path
    package, kind, number, rest = found.groups()
    sections = [own for own, value in configuration.items()
                if own.startswith(package + ".") and own.count(".") == 1 and value == kind]
    return sections[int(number)] + rest if int(number) < len(sections) else path
