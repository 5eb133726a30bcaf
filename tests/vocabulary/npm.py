# SPDX-License-Identifier: Apache-2.0
"""Programs of npm packages: a folder of the tests with package.json and package-lock.json, installed in the build."""
import fcntl
import functools
import hashlib
import os
import shutil
import subprocess
from pathlib import Path

HERE = Path(__file__).resolve().parent
LEAST = 18  # the major version of node that Debian 12 has; the packages are chosen to run on it


@functools.cache
def environment():
    """That of programs of node, with one that is new enough first on the path: the user's own, or else Debian's."""
    found = []
    for node in dict.fromkeys(filter(None, (shutil.which("node"), "/usr/bin/node"))):
        if os.access(node, os.X_OK):
            version = subprocess.run([node, "--version"], capture_output=True, text=True, check=True).stdout.strip()
            if int(version.removeprefix("v").partition(".")[0]) >= LEAST:
                return {**os.environ, "PATH": f"{Path(node).parent}:{os.environ['PATH']}"}
            found.append(f"{node} is {version}")
    raise AssertionError(f"node {LEAST} or later is needed; {', '.join(found) or 'there is none'}")


def installed(name):
    """The folder's copy in the build, with its packages as the lock file says."""
    source, copy = HERE / name, Path(os.environ["NPM_FOLDER"]) / name
    copy.mkdir(parents=True, exist_ok=True)
    with (copy / "lock").open("w", encoding="ascii") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        for file in source.iterdir():
            shutil.copy(file, copy)
        wanted = hashlib.sha256((source / "package-lock.json").read_bytes()).hexdigest()
        stamp = copy / "installed"
        if not stamp.exists() or stamp.read_text(encoding="ascii") != wanted:
            subprocess.run(["npm", "ci", "--ignore-scripts", "--no-audit", "--no-fund", "--loglevel=error"], cwd=copy,
                           env=environment(), check=True)
            stamp.write_text(wanted, encoding="ascii")
    return copy


def run(folder, *command):
    """Standard output of a program of node; fails with what it said."""
    done = subprocess.run(["node", *map(str, command)], cwd=folder, env=environment(), capture_output=True,
                          text=True, check=False)
    if done.returncode != 0:
        raise AssertionError(f"node {command[0]}:\n{done.stdout}{done.stderr}")
    return done.stdout
