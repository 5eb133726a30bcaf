# SPDX-License-Identifier: Apache-2.0
"""The examples of a document: its ```console blocks, and how their output is compared.

  $ COMMAND    is run; a backslash at the end of a line continues it
  OUTPUT       up to the next command is what it must print

In output, `...` stands for any text within a line, and a line of nothing but `...` for any number of lines.
"""
import re
from typing import NamedTuple


class Example(NamedTuple):
    line: int  # of the command in its document
    command: str
    output: str


def parse(document):
    """The examples of a document's text, in its order."""
    examples = []
    in_block = False
    for number, line in enumerate(document.splitlines(), 1):
        if line.startswith("```"):
            in_block = line == "```console"
        elif in_block and examples and examples[-1].command.endswith("\\"):
            examples[-1] = examples[-1]._replace(command=examples[-1].command + "\n" + line)
        elif in_block and line.startswith("$ "):
            examples.append(Example(number, line[2:], ""))
        elif in_block:
            if not examples:
                raise ValueError(f"line {number}: output without a command")
            examples[-1] = examples[-1]._replace(output=examples[-1].output + line + "\n")
    return examples


def line_pattern(line):
    if line == "...":
        return r"(?:.*\n)*"
    return ".*".join(map(re.escape, line.split("..."))) + r"\n"


def matches(shown, actual):
    """Whether a command that printed `actual` printed what the document shows."""
    if actual and not actual.endswith("\n"):
        actual += "\n"
    return re.fullmatch("".join(map(line_pattern, shown.splitlines())), actual) is not None
