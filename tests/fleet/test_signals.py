# SPDX-License-Identifier: Apache-2.0
"""At a terminal: progress, and what Ctrl-C leaves. Elsewhere: processes that are killed."""
import fcntl
import json
import os
import pty
import re
import signal
import subprocess
import sys
import termios
import time
import unittest
from pathlib import Path

from kit import FAULTY_PLANNER, PATIENCE, FleetTest, sample

DEVICES = 1000  # some chunks


class Terminal(FleetTest):
    @classmethod
    def setUpClass(cls):
        cls.devices = sample(DEVICES)

    def start(self, *words):
        """A run whose standard error is a terminal, and what reads the terminal."""
        control, terminal = pty.openpty()
        process = self.start_slowly("--json", *words, stderr=terminal)
        os.close(terminal)
        screen = open(control, "rb", buffering=0)
        self.addCleanup(screen.close)
        return process, screen

    def shown_until(self, screen, pattern):
        """What the terminal got until it shows the pattern."""
        shown = ""
        deadline = time.monotonic() + PATIENCE
        while not re.search(pattern, shown):
            self.assertLess(time.monotonic(), deadline, shown)
            try:
                shown += screen.read(1000).decode()
            except OSError:  # the other side is closed
                self.fail(f"no {pattern} in {shown!r}")
        return shown

    def test_progress(self):
        fleet = self.file("fleet", self.devices)
        process, screen = self.start("--devices", fleet)
        shown = self.shown_until(screen, r"\[#+\.+\] +\d+%  [1-9][\d,]* devices  [\d,]+/s  \d+:\d\d left")
        shown += self.shown_until(screen, r"1,000 devices in [\d.]+ s, [\d,]+/s\r\n")
        self.assertEqual(json.loads(process.communicate(timeout=PATIENCE)[0])["devices"], DEVICES)
        self.assertEqual(process.returncode, 0)
        self.assertEqual(shown.count("\n"), 1, "one line is written over")

    def test_no_terminal_no_progress(self):
        process = self.start_slowly("--devices", self.file("fleet", self.devices), stderr=subprocess.PIPE)
        self.assertEqual(process.communicate(timeout=PATIENCE)[1], b"")

    def interrupt(self, number):
        fleet = self.file("fleet", self.devices)
        process, screen = self.start("--devices", fleet, "--plans", "plans")
        self.shown_until(screen, r"\] +\d+%  [1-9][\d,]* devices")
        started = descendants(process.pid)
        self.assertTrue(started)
        os.killpg(process.pid, number)
        output = process.communicate(timeout=PATIENCE)[0]
        self.assert_ended(started)
        return process, output

    def assert_ended(self, started):
        deadline = time.monotonic() + PATIENCE
        while left := started & {each for each, _ in processes()}:
            self.assertLess(time.monotonic(), deadline, left)

    def test_interrupted(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(number):
                process, output = self.interrupt(number)
                self.assertEqual(process.returncode, 128 + number)
                told = json.loads(output)
                self.assertEqual((told["complete"], told["incomplete"]),
                                 (False, f"stopped by {signal.Signals(number).name}"))
                self.assertTrue(0 < told["devices"] < DEVICES, told["devices"])
        self.compare_with_first(told)

    def compare_with_first(self, told):
        """The sum so far is that of the first devices, to the letter."""
        plans = (self.folder / "plans").read_bytes()
        first = b"".join(self.devices.splitlines(keepends=True)[:told["devices"]])
        wanted = self.told("--devices", self.file("fleet", first), "--plans", "plans-of-first")
        self.assertEqual({**told, "complete": True, "incomplete": None}, {**wanted, "incomplete": None})
        self.assertEqual(plans, (self.folder / "plans-of-first").read_bytes())

    def test_interrupted_while_nothing_comes(self):
        reading, writing = os.pipe()
        process = self.start_slowly("--devices", "-", stdin=reading, stderr=subprocess.PIPE)
        os.write(writing, self.devices[:1000])
        while unread(reading):
            self.assertIsNone(process.poll())
            time.sleep(0.01)
        os.killpg(process.pid, signal.SIGINT)
        output, said = process.communicate(timeout=PATIENCE)
        os.close(reading)
        os.close(writing)
        self.assertEqual((process.returncode, said), (128 + signal.SIGINT, b""))
        self.assertTrue(output.startswith(b"INCOMPLETE: stopped by SIGINT"))

    def test_a_second_signal_does_not_wait(self):
        fleet = self.file("fleet", b'{"id": "evil"}\n')
        hanging = {"AEROLINK": str(FAULTY_PLANNER), "FAULT": "hang"}
        process = self.start_slowly("--devices", fleet, stderr=subprocess.PIPE, environment=hanging)
        while not any("faulty-planner" in command(each) for child in children(process.pid) for each in children(child)):
            self.assertIsNone(process.poll())
        started = descendants(process.pid)
        for _ in range(2):
            os.killpg(process.pid, signal.SIGINT)
            time.sleep(0.5)
        output = process.communicate(timeout=PATIENCE)[0]
        self.assertEqual(process.returncode, 128 + signal.SIGINT)
        self.assertTrue(output.startswith(b"INCOMPLETE: stopped by SIGINT. This is the sum of the first 0."))
        self.assert_ended(started)

    def test_a_killed_process_costs_no_device(self):
        fleet = self.file("fleet", self.devices)
        process, screen = self.start("-j2", "--devices", fleet)
        self.shown_until(screen, r"\] +\d+%  [1-9][\d,]* devices")
        os.kill(min(children(process.pid)), signal.SIGKILL)
        self.assertEqual(json.loads(process.communicate(timeout=PATIENCE)[0]), self.told("--devices", fleet))
        self.assertEqual(process.returncode, 0)


def processes():
    """Process and its parent of all that run."""
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{name}/stat", encoding="latin-1") as stat:
                state, parent = stat.read().rpartition(")")[2].split()[:2]
        except (FileNotFoundError, ProcessLookupError):
            continue
        if state != "Z":
            yield int(name), int(parent)


def unread(pipe):
    """Bytes that wait in it."""
    return int.from_bytes(fcntl.ioctl(pipe, termios.FIONREAD, bytes(4)), sys.byteorder)


def command(process):
    try:
        return Path(f"/proc/{process}/cmdline").read_text(encoding="utf-8", errors="replace")
    except OSError:
        return ""


def children(parent):
    return {process for process, its_parent in processes() if its_parent == parent}


def descendants(parent):
    return {each for child in children(parent) for each in {child, *descendants(child)}}


if __name__ == "__main__":
    unittest.main()
