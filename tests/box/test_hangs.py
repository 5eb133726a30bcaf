# SPDX-License-Identifier: Apache-2.0
"""A program of the firmware that hangs: what the document says of it, and that all goes on when it ends.

Which programs a route waits for is taken from rehearsals (`aerolink plan`).
"""
import concurrent.futures
import contextlib
import json
import os
import re
import subprocess
import time
import unittest

from every_route import API, REQUESTS, ask, ask_all
from faulty import FaultyRouter
from router import wait_for

AEROLINK = os.environ["AEROLINK"]
PATIENCE = 30
GET = "/cloud/aerolink/get"

WAITED_FOR = ("system", "exec", "line", "ucireturn", "popen", "iwpriv")  # kinds of effects
OF_THE_SHELL = {"echo", "kill"}  # its own commands, which are no programs
EVERYTHING = {  # what makes a route run what it runs at times only
    "/cloud/aerolink/batch_set": {"password": "new password", "reboot_flag": "1"},
    "/whiteboard/set_config": {"password": "new password", "reboot_flag": "1", "2g_encrytion": "psk2"},
}

# Says that it runs, and waits until it is told to end; after that it does not wait any more. It uses nothing but what
# the shell has by itself, since any other program may be the one that hangs.
HANGING = "#!/bin/sh\n[ -e /var/released ] && exit 1\n: >/var/hangs\nread -r _ </var/release\nexit 1\n"


def programs_of(line):
    """The programs that a shell command runs and waits for."""
    line = re.sub(r"'[^']*'|\"[^\"]*\"", "x", line)
    line = re.sub(r"\d?[<>&]+\s*(\d|/\S+)", "", line)
    commands = re.split(r"\$\(|\|\||[|;()]", line)
    words = [command.split()[0] for command in commands if command.strip() and not command.rstrip().endswith("&")]
    return {word for word in words if re.match("[a-z/]", word)} - OF_THE_SHELL


def factory_devices():
    lines = subprocess.run([AEROLINK, "snapshot"], capture_output=True, text=True, check=True).stdout.splitlines()
    return [json.loads(line) for line in lines]


def full_of_occasions(device):
    """The device with what makes a route run what it runs at times only."""
    return device | {"uci": device["uci"] + "\npackage mwan3\nconfig interface 'wan'\n\tlist track_ip '8.8.8.8'\n",
                     "files": {"/tmp/tertf/tertfinfo_bak": ""}}


def rehearsed(route, devices):
    """The programs that the route waits for on these devices."""
    request = REQUESTS[route] | EVERYTHING.get(route, {})
    lines = "".join(json.dumps(device) + "\n" for device in devices)
    plans = subprocess.run([AEROLINK, "plan", "--stream", "--route", route, json.dumps(request)], input=lines,
                           capture_output=True, text=True, check=True).stdout
    effects = [effect for plan in plans.splitlines() for effect in json.loads(plan)["effects"]]
    return set().union(*(programs_of(effect.get("command", effect["kind"])) for effect in effects
                         if effect["kind"] in WAITED_FOR))


def documented():
    """Route to programs, as the document's table has them."""
    rows = re.findall(r"^\| (/\S+) \| ([^|]*) \|$", API.read_text(encoding="utf-8"), re.MULTILINE)
    return {route: set(re.findall(r"`([^`]*)`", programs)) for route, programs in rows}


class Documents(unittest.TestCase):
    maxDiff = None

    def test_name_what_a_route_waits_for(self):
        factory = factory_devices()
        devices = factory + [full_of_occasions(device) for device in factory]
        programs = {route: rehearsed(route, devices) for route in REQUESTS}
        self.assertEqual(documented(), {route: waited_for for route, waited_for in programs.items() if waited_for})


class Hangs(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.router = FaultyRouter("heron")
        cls.addClassCleanup(cls.router.stop)
        cls.pool = concurrent.futures.ThreadPoolExecutor()
        cls.addClassCleanup(cls.pool.shutdown)
        cls.router.power_on()
        cls.router.shell("mkfifo /var/release")
        ask_all(cls.router, PATIENCE)

    def begin(self, route, **more):
        return self.pool.submit(ask, self.router, route, REQUESTS[route] | more, PATIENCE)

    @contextlib.contextmanager
    def hanging(self, program):
        var = self.router.state / "var"
        for name in ("hangs", "released"):
            (var / name).unlink(missing_ok=True)
        with self.router.replaced(program, HANGING):
            try:
                yield
            finally:
                self.release()

    def wait_for_hang(self):
        wait_for("the program", (self.router.state / "var/hangs").exists)

    def release(self):
        (self.router.state / "var/released").touch()
        with contextlib.suppress(OSError):  # nobody waits
            os.close(os.open(self.router.state / "var/release", os.O_WRONLY | os.O_NONBLOCK))

    def answers(self, *begun):
        """The answers, for which the program is told to end as often as it runs."""
        def all_are_there():
            self.release()
            return all(each.done() for each in begun)
        wait_for("the answers", all_are_there)
        return [each.result() for each in begun]

    def daemon(self):
        return self.router.run("pgrep -x apid").stdout

    def test_holds_every_route_until_it_ends(self):
        daemon = self.daemon()
        device = [each for each in factory_devices() if each["model"] == self.router.model]
        for route in REQUESTS:
            for program in sorted(rehearsed(route, device)):
                with self.subTest(route, program=program), self.hanging(program):
                    more = {"password": "new password"} if program in ("passwd", "sleep") else {}
                    first = self.begin(route, **more)
                    self.wait_for_hang()
                    other = self.begin(GET)
                    time.sleep(0.1)
                    self.assertFalse(first.done() or other.done())
                    held, waited = self.answers(first, other)
                    self.assertEqual(held.status, 503 if program == "ping" else 200)
                    self.assertEqual(waited.status, 200)
        self.assertEqual(self.daemon(), daemon)

    def test_holds_a_daemon_that_is_told_to_stop(self):
        daemon = self.daemon()
        with self.hanging("logread"):
            begun = self.begin("/cloud/aerolink/log")
            self.wait_for_hang()
            self.router.shell("killall apid")
            time.sleep(0.3)
            self.assertEqual(self.daemon(), daemon)
            self.assertEqual(self.answers(begun)[0].status, 200)
        wait_for("another daemon", lambda: self.daemon() not in ("", daemon))


if __name__ == "__main__":
    unittest.main()
