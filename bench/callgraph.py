# SPDX-License-Identifier: Apache-2.0
"""The deepest stack use of a function, from the frame sizes and calls that GCC states for each source file.

A call through a pointer has no callee in GCC's call graph. Here it may reach every function of the plug-in that has
the pointer's type, but for a route's handler, which only the daemon calls through a pointer. So a figure is what the
plug-in's own frames take at most, and rather too much than too little. What the C library, json-c and the platform
libraries use on top of it is not in it.
"""

import json
import re
import shlex
import subprocess
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

# The pointers that the plug-in calls through, and what they point at: result and parameters as GCC writes them.
POINTERS = {
    "before_table": "void (const char*)",
    "checked": "bool (const row_step&)",
    "chosen": "bool (const row_step&)",
    "made": "const char* (const char*)",
    "refuse": "void (const row_step&)",
    "restart": "void ()",
}

NODE = re.compile(r'node: \{ title: "([^"]*)" label: "([^"]*)"( shape : ellipse)? \}')
EDGE = re.compile(r'edge: \{ sourcename: "([^"]*)" targetname: "([^"]*)"(?: label: "(.*):(\d+):(\d+)")? \}')
SIGNATURE = re.compile(r"(.*?) ?([\w:{}]+)(\(.*\))")
FRAME = re.compile(r"(\d+) bytes \((\w+)\)")


class CallGraph:
    def __init__(self, build, work):
        """Compiles the plug-in of the build folder once more, into the folder work, for its call graph."""
        self.frames = {}  # function: bytes
        self.types = {}  # function: result and parameters
        self.calls = {}  # function: functions
        self.indirect = []  # (function, pointer)
        for graph in compile_graphs(build, work):
            self._read(graph.read_text())
        self._cache = {}

    def deepest(self, function, handlers):
        """(bytes, path) of the deepest chain of calls from the function."""
        self._resolve(handlers)
        return self._deepest(function, ())

    def _read(self, graph):
        for title, label, external in NODE.findall(graph):
            if external:
                continue
            signature, *rest = label.split(r"\n")
            frame, kind = next(found.groups() for found in map(FRAME.search, rest) if found)
            if kind != "static":
                raise ValueError(f"{signature} has a frame of no fixed size")
            self.frames[title] = int(frame)
            if found := SIGNATURE.fullmatch(signature):  # GCC does not say it of a function with "..."
                self.types[title] = f"{found[1]} {found[3]}"
        for caller, callee, path, line, column in EDGE.findall(graph):
            if callee == "__indirect_call":
                self.indirect.append((caller, pointer_name(path, int(line), int(column))))
            else:
                self.calls.setdefault(caller, set()).add(callee)

    def _resolve(self, handlers):
        for caller, pointer in self.indirect:
            reached = [name for name, kind in self.types.items() if kind == POINTERS[pointer]]
            if not reached:
                raise ValueError(f"no function has the type of {pointer}")
            self.calls.setdefault(caller, set()).update(set(reached) - set(handlers))
        self.indirect = []

    def _deepest(self, function, path):
        if function in path:
            raise ValueError("recursion: " + " > ".join((*path, function)))
        if function not in self._cache:
            below = [self._deepest(callee, (*path, function)) for callee in sorted(self.calls.get(function, ()))
                     if callee in self.frames]
            size, chain = max(below, default=(0, ()))
            self._cache[function] = (self.frames[function] + size, (function, *chain))
        return self._cache[function]


def pointer_name(path, line, column):
    """The name that stands before the "(" of a call."""
    text = Path(path).read_text().splitlines()[line - 1]
    name = re.search(r"(\w+)$", text[: column - 1]).group(1)
    if name not in POINTERS:
        raise ValueError(f"{path}:{line}: what does the pointer {name} point at? (POINTERS in {__file__})")
    return name


def compile_graphs(build, work):
    commands = json.loads((Path(build) / "compile_commands.json").read_text())
    commands = [entry for entry in commands if "CMakeFiles/aerolink.dir/" in entry["command"]]
    if not commands:
        raise ValueError(f"{build} does not build the plug-in")

    def compile_one(numbered):
        number, entry = numbered
        arguments = shlex.split(entry["command"])
        output = Path(work) / f"{number}.o"
        arguments[arguments.index("-o") + 1] = str(output)
        subprocess.run([*arguments, "-fcallgraph-info=su,da"], cwd=entry["directory"], check=True)
        return output.with_suffix(".ci")

    with ThreadPoolExecutor(2) as pool:
        return list(pool.map(compile_one, enumerate(commands)))
