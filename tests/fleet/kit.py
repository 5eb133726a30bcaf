# SPDX-License-Identifier: Apache-2.0
"""Runs `aerolink fleet` and `aerolink fleet-sample` for a test."""
import json
import os
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

AEROLINK = os.environ["AEROLINK"]
PATIENCE = 100
TOOLS = Path(__file__).resolve().parents[2] / "tools/fleet"
sys.path.append(str(TOOLS))

FAULTY_PLANNER = Path(__file__).with_name("faulty-planner")
SLOW = {"AEROLINK": str(Path(__file__).with_name("slow-planner")), "PLANNER": AEROLINK}

# Ten settings: some take effect everywhere, some on some models, two nowhere.
PUSH = {"2g_ssid": "Harbour Cafe", "2g_key": "short", "5g_ssid": "Harbour Cafe 5G", "5g_key": "correct horse battery",
        "lan_ip": "192.168.70.1", "guest_2g_disable": "1", "2g_channel": "11", "hostnam": "harbour",
        "system_timezone": "Europe/Berlin", "autoupdate_enable": "1"}


def sample(count, seed=1):
    return subprocess.run([AEROLINK, "fleet-sample", str(count), "--seed", str(seed)], stdout=subprocess.PIPE,
                          timeout=PATIENCE, check=True).stdout


def end(process):
    """With all that is of its session."""
    if process.poll() is None:
        os.killpg(process.pid, signal.SIGKILL)
    process.communicate()


class FleetTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory(prefix="fleet-")))

    def file(self, name, content):
        path = self.folder / name
        path.write_bytes(content)
        return path

    def command(self, *words, request=None):
        return [AEROLINK, "fleet", *map(str, words), json.dumps(PUSH if request is None else request)]

    def start_slowly(self, *words, environment=None, **options):
        """A run that lasts some seconds, however few its devices are."""
        process = subprocess.Popen([str(TOOLS / "aerolink-fleet"), *self.command(*words)[2:]], stdout=subprocess.PIPE,
                                   start_new_session=True, cwd=self.folder, env=os.environ | (environment or SLOW),
                                   **options)
        self.addCleanup(end, process)
        return process

    def run_command(self, command, **options):
        return subprocess.run(command, capture_output=True, cwd=self.folder, timeout=PATIENCE, check=False, **options)

    def run_fleet(self, *words, request=None, **options):
        return self.run_command(self.command(*words, request=request), **options)

    def fleet(self, *words, request=None, **options):
        """The standard output of a run that must be silent and end with 0."""
        done = self.run_fleet(*words, request=request, **options)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        return done.stdout

    def told(self, *words, **options):
        return json.loads(self.fleet("--json", *words, **options))

    def assert_refused(self, done, *texts):
        self.assertEqual(done.returncode, 1)
        said = done.stderr.decode()
        for text in texts:
            self.assertIn(text, said)
        self.assertNotIn("Traceback", said)
