# SPDX-License-Identifier: Apache-2.0
"""Configurations as `uci export` writes them, changed option by option."""
import re
import shlex

STATEMENT = re.compile(r"^\s*(package|config|option|list)\s+(.*)$")
SELECTOR = re.compile(r"^@(.*)\[(\d+)\]$")


class Section:
    def __init__(self, kind, name):
        self.kind, self.name, self.options = kind, name, {}  # option: its text, or a list of texts


def parse(text):
    """Package to its sections, in order."""
    packages, sections = {}, []
    for line in text.splitlines():
        found = STATEMENT.match(line)
        if not found:
            continue
        word, (first, *rest) = found[1], shlex.split(found[2])
        if word == "package":
            sections = packages.setdefault(first, [])
        elif word == "config":
            sections.append(Section(first, rest[0] if rest else ""))
        elif word == "option":
            sections[-1].options[first] = rest[0]
        else:
            sections[-1].options.setdefault(first, []).append(rest[0])
    return packages


def show(packages):
    out = []
    for package, sections in packages.items():
        out.append(f"package {package}")
        for section in sections:
            out.append(f"config {section.kind} {_quoted(section.name)}" if section.name else f"config {section.kind}")
            for option, value in section.options.items():
                word, values = ("list", value) if isinstance(value, list) else ("option", [value])
                out += [f"\t{word} {option} {_quoted(each)}" for each in values]
    return "\n".join(out) + "\n"


def section_of(packages, path):
    """The section that the path of an option names, null when it is not there; and the option's name."""
    package, name, option = path.split(".", 2)
    sections = packages.get(package, [])
    selector = SELECTOR.match(name)
    if selector:
        of_kind = [section for section in sections if section.kind == selector[1]]
        index = int(selector[2])
        return (of_kind[index] if index < len(of_kind) else None), option
    return next((section for section in sections if section.name == name), None), option


def with_options(text, options):
    """The configuration with the options (path to value), where their sections exist."""
    packages = parse(text)
    for path, value in options.items():
        section, option = section_of(packages, path)
        if section is not None:
            section.options[option] = value
    return show(packages)


def without(text, options):
    """The configuration without the options."""
    packages = parse(text)
    for path in options:
        section, option = section_of(packages, path)
        if section is not None:
            section.options.pop(option, None)
    return show(packages)


def _quoted(text):
    return "'" + text.replace("'", "'\\''") + "'"
