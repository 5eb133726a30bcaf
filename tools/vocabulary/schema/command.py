# SPDX-License-Identifier: Apache-2.0
"""What the commands have in common."""
import argparse
import sys

from patterns import Untranslatable
from plugin import Failed, Plugin
from vocabulary import Unexplained


class Parser(argparse.ArgumentParser):
    """Wrong use has the exit status of the front door."""

    def error(self, message):
        self.print_usage(sys.stderr)
        print(f"{self.prog}: {message}", file=sys.stderr)
        sys.exit(1)


def parser(summary, more=""):
    """summary: the docstring of a program, "aerolink WORD: what it does."; the front door reads it there too."""
    program, _, does = summary.partition(": ")
    made = Parser(prog=program, description=f"{does[0].upper()}{does[1:]} {more}")
    made.add_argument("--plugin", metavar="FILE", help="another build of the plug-in")
    return made


def plugin_of(arguments):
    return Plugin(["--plugin", arguments.plugin] if arguments.plugin is not None else [])


def model_of(plugin, made, name):
    """The name if it is a model's; otherwise the command is refused."""
    if name is None:
        made.error("--model is needed")
    if name not in plugin.models:
        made.error(f"there is no model {name}; there are {', '.join(plugin.models)}")
    return name


def run(word, main):
    try:
        main()
    except (Failed, Unexplained, Untranslatable) as failure:
        sys.exit(f"aerolink {word}: {failure}")
    except BrokenPipeError:
        sys.stderr.close()  # the reader has seen enough
