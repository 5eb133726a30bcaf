# SPDX-License-Identifier: Apache-2.0
"""A Dask cluster on the loopback: the same results, whichever worker is lost; and what is wrong with it is said."""
import contextlib
import json
import os
import re
import signal
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from kit import PATIENCE, SLOW, FleetTest, end, sample

DEVICES = 2_500  # some chunks, each of which takes a while


class Daemon:
    """A scheduler or worker, and the address under which it is to be found."""

    def __init__(self, folder, name, *command, environment=os.environ):
        self.log = Path(folder) / f"{name}.log"
        with self.log.open("wb") as log:
            self.process = subprocess.Popen([*command, "--host", "127.0.0.1", "--no-dashboard"], stdout=log, stderr=log,
                                            stdin=subprocess.DEVNULL, cwd=folder, start_new_session=True,
                                            env=environment)

    def address(self):
        deadline = time.monotonic() + PATIENCE
        while time.monotonic() < deadline:
            if found := re.search(r"(?:Scheduler|worker) at: +(tcp://127\.0\.0\.1:\d+)", self.log.read_text()):
                return found.group(1)
            time.sleep(0.05)
        raise AssertionError(self.log.read_text())


def start_scheduler(folder):
    return Daemon(folder, "scheduler", "dask-scheduler", "--port", "0")


class Cluster(FleetTest):
    @classmethod
    def setUpClass(cls):
        cls.devices = sample(DEVICES, seed=5)
        scheduler = start_scheduler(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.addClassCleanup(end, scheduler.process)
        cls.scheduler = scheduler.address()

    def setUp(self):
        super().setUp()
        self.fleet_file = self.file("fleet", self.devices)

    def start_worker(self, name, environment):
        worker = Daemon(self.folder, name, "dask-worker", self.scheduler, "--nthreads", "1", "--no-nanny",
                        "--local-directory", str(self.folder / name), environment=os.environ | environment)
        self.addCleanup(end, worker.process)
        return worker

    def start_there(self, *words):
        return self.start_slowly(*words, "--devices", self.fleet_file, "--scheduler", self.scheduler, "--plans",
                                 "plans-there", stderr=subprocess.PIPE)

    def wait_for_plans(self, process, size):
        """Until so many bytes of plans are there."""
        plans = self.folder / "plans-there"
        deadline = time.monotonic() + PATIENCE
        while not plans.exists() or plans.stat().st_size < size:
            self.assertLess(time.monotonic(), deadline)
            self.assertIsNone(process.poll())
            time.sleep(0.01)

    def test_same_to_the_letter_though_a_worker_is_killed(self):
        workers = [self.start_worker(name, SLOW) for name in ("one", "two")]
        addresses = {worker.address() for worker in workers}
        self.assertEqual(len(addresses), 2)
        wanted = self.fleet("--devices", self.fleet_file, "--plans", "plans-here")
        here = (self.folder / "plans-here").read_bytes()
        self.assertEqual(here.count(b"\n"), DEVICES)

        process = self.start_there()
        self.wait_for_plans(process, len(here) / 4)
        workers[0].process.send_signal(signal.SIGKILL)
        self.assertLess((self.folder / "plans-there").stat().st_size, len(here) * 3 / 4, "half way")
        self.assertEqual(process.communicate(timeout=PATIENCE), (wanted, b""))
        self.assertEqual(process.returncode, 0)
        self.assertEqual((self.folder / "plans-there").read_bytes(), here)
        self.assertEqual(workers[0].process.wait(timeout=PATIENCE), -signal.SIGKILL)
        self.assertIsNone(workers[1].process.poll())

    def test_workers_that_cannot_plan(self):
        other = self.file("aerolink", b'#!/bin/sh\necho "aerolink 0.0.1"\n')
        other.chmod(0o755)
        workers = [self.start_worker("unfit", {"AEROLINK": "", "PATH": "/usr/bin:/bin"}),
                   self.start_worker("other", {"AEROLINK": str(other)})]
        unfit, old = [worker.address() for worker in workers]
        process = self.start_there()
        output, said = process.communicate(timeout=PATIENCE)
        self.assertEqual((process.returncode, output), (1, b""))
        self.assertEqual(sorted(said.decode().removeprefix("aerolink fleet: ").splitlines()), sorted([
            f"worker {unfit}: there is no aerolink in its PATH: install the kit there, or name the program in the "
            "environment variable AEROLINK", f"worker {old}: it has aerolink 0.0.1, not {self.version()}"]))

    def version(self):
        return self.run_command([SLOW["PLANNER"], "--version"]).stdout.decode().strip()

    def test_a_worker_that_comes_later_and_cannot_plan(self):
        worker = self.start_worker("fit", SLOW)
        worker.address()
        process = self.start_there()
        self.wait_for_plans(process, 1)
        self.start_worker("unfit", {"AEROLINK": "", "PATH": "/usr/bin:/bin"}).address()
        with contextlib.suppress(ProcessLookupError):
            os.killpg(worker.process.pid, signal.SIGKILL)
        output, said = process.communicate(timeout=PATIENCE)
        self.assertEqual(process.returncode, 1)
        self.assertIn(b"aerolink fleet: a worker cannot plan: there is no aerolink in its PATH", said)
        self.assertTrue(output.startswith(b"INCOMPLETE: "))

    def test_interrupted(self):
        self.start_worker("one", SLOW).address()
        process = self.start_there("--json")
        self.wait_for_plans(process, 1)
        process.send_signal(signal.SIGINT)
        output, said = process.communicate(timeout=PATIENCE)
        self.assertEqual((process.returncode, said), (128 + signal.SIGINT, b""))
        told = json.loads(output)
        self.assertEqual(told["incomplete"], "stopped by SIGINT")
        self.assertEqual((self.folder / "plans-there").read_bytes().count(b"\n"), told["devices"])

    def test_the_scheduler_is_killed(self):
        scheduler = start_scheduler(self.folder)
        self.addCleanup(end, scheduler.process)
        self.scheduler = scheduler.address()
        self.start_worker("one", SLOW).address()
        process = self.start_there()
        self.wait_for_plans(process, 1)
        scheduler.process.kill()
        output, said = process.communicate(timeout=PATIENCE)
        self.assertEqual((process.returncode, said), (1, b"aerolink fleet: the scheduler is gone\n"))
        self.assertTrue(output.startswith(b"INCOMPLETE: the scheduler is gone. "))

    def test_no_cluster(self):
        for address in ("tcp://127.0.0.1:1", "nonsense"):
            with self.subTest(address):
                self.assert_refused(self.run_fleet("--devices", self.fleet_file, "--scheduler", address),
                                    f"there is no scheduler at {address}")


if __name__ == "__main__":
    unittest.main()
