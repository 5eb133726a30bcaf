# SPDX-License-Identifier: Apache-2.0
"""The recorded cases: what routes were asked and what they answered, as tests/recorded pins it."""
import json
import re
import subprocess
from dataclasses import dataclass
from pathlib import Path

SECTION = re.compile(r"^\[(device|uci|answers|files|faults|call .*|result|response|effects|state|uci after)\]$")
REPEATED_ELEMENT = re.compile(r"^(\s*)(.*) \((\d+) times\)(,?)$")
IN_SHORT = re.compile(r"^\[(as .*|parameters)\]$", re.MULTILINE)
NOTATION = re.compile(r"\$\{(?s:(.))\*(\d+)\}|\\x([0-9a-fA-F]{2})|\\.")


@dataclass
class Call:
    case: str       # "cloud/status", the file's name below the folder of cases
    purpose: str    # what the case shows, a sentence
    number: int     # of the call in its case, from 1
    method: str
    path: str
    request: object
    result: int
    response: object

    def __str__(self):
        return f"{self.case} call {self.number}"


def read_calls(folder):
    """Every call of a route in the cases below the folder, in order of the files' names."""
    folder = Path(folder)
    for file in sorted(folder.rglob("*.case")):
        yield from _calls_of(file.relative_to(folder).with_suffix("").as_posix(), _in_full(folder, file))


def _in_full(folder, file):
    """The text of a case, and of a variant of a case or one with parameters as the tests play it."""
    text = file.read_text(encoding="utf-8")
    if not IN_SHORT.search(text):
        return text
    return subprocess.run([folder.parent / "variants", "expand", file], capture_output=True, encoding="utf-8",
                          check=True).stdout


def _calls_of(case, text):
    number, call = 0, None
    purpose = text.partition("\n")[0].partition("# Purpose: ")[2]
    for name, lines in _sections(text):
        words = name.split()
        if words[0] == "call":
            number += 1
            call = None
            if len(words) == 3 and words[2].startswith("/"):
                call = Call(case, purpose, number, words[1], words[2], _json(lines), 0, {})
        elif call and name == "result":
            call.result = int(lines[0])
        elif call and name == "response":
            call.response = _json(lines)
        elif call and name == "state":
            yield call
            call = None


def _sections(text):
    name, lines = "", []
    for line in text.splitlines():
        header = SECTION.match(line)
        if header:
            yield name or "head", lines
            name, lines = header[1], []
        else:
            lines.append(line)
    yield name or "head", lines


def _json(lines):
    return json.loads(_expand("\n".join(_repeat(lines))))


def _repeat(lines):
    for line in lines:
        found = REPEATED_ELEMENT.match(line)
        if found:
            indent, element, times, comma = found.groups()
            for index in range(int(times)):
                yield indent + element + ("," if comma or index + 1 < int(times) else "")
        else:
            yield line


def _expand(text):
    """Runs of a character written out; a byte that is no UTF-8 as the daemon sends it."""
    def replace(found):
        if found[1]:
            return found[1] * int(found[2])
        return "\ufffd" if found[3] else found[0]
    return NOTATION.sub(replace, text)
