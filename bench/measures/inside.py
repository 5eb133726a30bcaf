# SPDX-License-Identifier: Apache-2.0
"""Measurements inside a router in a box, a heron: its own shell, its own plug-in, nothing of this machine's."""
import json
import os
import shutil
import subprocess
import sys
import tempfile
from contextlib import contextmanager
from pathlib import Path

from measures.samples import Sample, Samples

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("AEROLINK_BUILD", ROOT / "build/main"))
os.environ.setdefault("ROUTER_IMAGE", str(BUILD / "devkit/router/image"))
sys.path.insert(0, str(ROOT / "tests/box"))

from router import BOX, Router  # noqa: E402  the image must be named first
from test_batch import PUSHED  # noqa: E402
from vocabulary import TABLES  # noqa: E402

# These start commands of their own; the others are settings and nothing else.
COMMAND_KEYS = {"password", "system_timezone", "language"}
SETTINGS = {row.key: PUSHED[row.key] for row in TABLES["batch_list_ardea"] if row.key not in COMMAND_KEYS}
GROWTH = (1, 10, 20, 30, 40)
PORT = 18080  # in the box's own network
HTTP_REQUESTS = 100
HTTP_PATHS = {"empty": "/empty", "named": "/cloud/aerolink/batch_get?name=2g_ssid", "link": "/cloud/aerolink/get",
              "read": "/cloud/aerolink/batch_get"}


def in_memory():
    """A folder that no disk slows down, where the machine has one."""
    shared = Path("/dev/shm")
    return shared if os.access(shared, os.W_OK) and shutil.disk_usage(shared).free > 200 << 20 else None


@contextmanager
def router():
    """A booted heron with the measuring program in it."""
    with tempfile.TemporaryDirectory(prefix="bench-", dir=in_memory()) as folder:
        os.chmod(folder, 0o755)
        with Router("heron", Path(folder) / "state") as running:
            running.wait_until_booted()
            tools = running.state / "var/bench"
            tools.mkdir()
            for name in ("bench_box", "bench_empty.so"):
                shutil.copy(BUILD / "bench" / name, tools)
                (tools / name).chmod(0o755)
            yield running


class Answers(Samples):
    """What the measuring program has printed: samples, and other lines by their first two words."""

    def __init__(self):
        super().__init__()
        self.facts = {}

    def read(self, text):
        for line in text.splitlines():
            word, case, *rest = line.split()
            if word == "sample":
                self.add(case, rest[0], Sample(float(rest[1]), float(rest[2])))
            else:
                self.facts[word, case] = [float(number) for number in rest]
        return self


def ask(running, words, requests=()):
    (running.state / "var/bench/requests").write_text("".join(json.dumps(each) + "\n" for each in requests),
                                                      encoding="utf-8")
    command = f"/var/bench/bench_box {words} </var/bench/requests"
    done = subprocess.run([sys.executable, BOX, "exec", "--state", running.state, "--timeout", "240", command],
                          capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{command}: {done.stdout[-200:]}{done.stderr}")
    return Answers().read(done.stdout)


def first(count):
    return dict(list(SETTINGS.items())[:count])


def push(running, rounds, contenders=("plugin", "hand", "commands", "script", "batch")):
    return ask(running, f"push {rounds} {' '.join(contenders)}", [SETTINGS])


def push_growth(running, rounds):
    return ask(running, f"push {rounds} plugin hand script", [first(count) for count in GROWTH])


def read(running, rounds):
    return ask(running, f"read {rounds}")


def patterns(running, rounds):
    return ask(running, f"patterns {rounds}", [SETTINGS])


def http(running, rounds):
    """Requests through a second daemon, which keeps no record."""
    start = (f"apid --listen 127.0.0.1:{PORT} --plugin /usr/lib/api/aerolink.so --plugin /var/bench/bench_empty.so "
             ">/tmp/apid.out 2>&1 & echo $! >/tmp/apid.pid; until grep -q listening /tmp/apid.out; do sleep 0.05; done")
    running.shell(start)
    try:
        return ask(running, f"http {rounds} {PORT} {HTTP_REQUESTS} " +
                   " ".join(f"'{path}'" for path in HTTP_PATHS.values()))
    finally:
        running.shell("kill $(cat /tmp/apid.pid)")
