# SPDX-License-Identifier: Apache-2.0
"""Plays one case file of the command `uci` in an empty folder: run_case.py UCI CASE.

Each line of a case begins with its kind:
    #  comment                      =  write this file, its lines follow behind "|"
    $  shell command                == this file must now have exactly the lines that follow behind "|"
    >  a line that it prints        ?  its exit status, when that is not 0
    !  a line that it prints to standard error
Without a "!" standard error counts as output. In commands `uci` works on the folders "config" and "delta"; $UCI is the bare program.
"""
import difflib
import os
import subprocess
import sys
import tempfile

PREAMBLE = 'uci() { "$UCI" -c config -t delta "$@"; }\n'


class Step:
    def __init__(self, kind, text, line):
        self.kind, self.text, self.line = kind, text, line
        self.lines, self.complaints, self.status = [], [], 0

    def expected(self):
        return "".join(line + "\n" for line in self.lines)

    def expected_of_run(self):
        return "".join([self.expected(), *(f"! {line}\n" for line in self.complaints), f"exit {self.status}\n"])


def read_steps(path):
    steps = []
    with open(path, encoding="latin-1", newline="\n") as source:
        for number, line in enumerate(source.read().splitlines(), 1):
            kind, _, text = line.partition(" ")
            if kind in ("$", "=", "=="):
                steps.append(Step(kind, text, number))
            elif kind == (">" if steps and steps[-1].kind == "$" else "|") and steps:
                steps[-1].lines.append(text)
            elif kind == "!" and steps and steps[-1].kind == "$":
                steps[-1].complaints.append(text)
            elif kind == "?" and steps and steps[-1].kind == "$":
                steps[-1].status = int(text)
            elif kind not in ("", "#"):
                sys.exit(f"{path}:{number}: not a case line: {line}")
    return steps


def run(step, folder, uci):
    done = subprocess.run(["/bin/sh", "-c", PREAMBLE + step.text], cwd=folder, check=False,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE if step.complaints else subprocess.STDOUT,
                          env={"UCI": uci, "PATH": "/usr/bin:/bin", "LC_ALL": "C"}, timeout=60)
    complaints = (done.stderr or b"").decode("latin-1").splitlines()
    return "".join([done.stdout.decode("latin-1"), *(f"! {line}\n" for line in complaints),
                    f"exit {done.returncode}\n"])


def play(step, folder, uci):
    """What the step should have given and what it gave."""
    path = os.path.join(folder, step.text)
    if step.kind == "=":
        with open(path, "w", encoding="latin-1", newline="") as target:
            target.write(step.expected())
        return "", ""
    if step.kind == "==":
        with open(path, encoding="latin-1", newline="") as source:
            return step.expected(), source.read()
    return step.expected_of_run(), run(step, folder, uci)


def main():
    uci, case = os.path.abspath(sys.argv[1]), sys.argv[2]
    steps = read_steps(case)
    if not any(step.kind == "$" for step in steps):
        sys.exit(f"{case}: runs nothing")
    failed = False
    with tempfile.TemporaryDirectory() as folder:
        os.mkdir(os.path.join(folder, "config"))
        for step in steps:
            expected, actual = play(step, folder, uci)
            if expected != actual:
                failed = True
                print(f"{case}:{step.line}: {step.kind} {step.text}")
                sys.stdout.writelines(difflib.unified_diff(
                    expected.splitlines(True), actual.splitlines(True), "expected", "actual"))
    sys.exit(failed)


if __name__ == "__main__":
    main()
