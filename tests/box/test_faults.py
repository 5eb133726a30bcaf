# SPDX-License-Identifier: Apache-2.0
"""A router whose disks, files and programs fail: every route answers, and when all is mended it answers as before."""
import contextlib
import unittest

from every_route import REQUESTS, ask, ask_all, documented_routes
from faulty import FaultyRouter

PATIENCE = 30  # seconds for an answer; the slowest takes about four on a machine that does nothing else
LOG = "/cloud/aerolink/log"
UNBIND = "/cloud/aerolink/unbind"
BATCH_SET = "/cloud/aerolink/batch_set"
BATCH_GET = "/cloud/aerolink/batch_get"
SET_CONFIG = "/whiteboard/set_config"
HOSTNAME = "system.@system[0].hostname"
UNREACHABLE = (503, {"result": -24, "response": {}})

# The firmware's programs that routes run, and what a router without one answers, where it is not what it always is. The
# box's ping needs awk.
NO_INTERNET = {UNBIND: UNREACHABLE}
MISSING = {"killall": {}, "/etc/init.d/zu_mqtt": {}, "/etc/init.d/zu_bigdata": {}, "ping": NO_INTERNET, "ubus": {},
           "logread": {}, "grep": {}, "cut": {}, "uci": {}, "passwd": {}, "awk": NO_INTERNET, "cat": {}, "pgrep": {},
           "rm": {}, "wget": {}, "reload_config": {}, "sh": NO_INTERNET}

BUSYBOX = "/usr/lib/busybox-static"  # which is not on the path, so that it is there whatever is missing
LINE = "Nov 21 04:31:22 router daemon.info zu_mqtt_service: all work and no play makes"
HUNDRED_MB = 100 << 20


def flood(line, size):
    return f"#!/bin/sh\n{BUSYBOX} yes '{line}' | {BUSYBOX} head -c {size}\n"


# A program that writes that much, the route that runs it, and where its output goes.
FLOODS = [
    ("/etc/init.d/zu_bigdata", UNBIND, "the daemon's own output"),
    ("ping", UNBIND, "nowhere"),
    ("cat", BATCH_GET, "a buffer for one line"),
    ("grep", LOG, "another program, and then the response"),
    ("pgrep", SET_CONFIG, "the words of a command"),
]


class FaultTest(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.router = FaultyRouter("heron")
        cls.addClassCleanup(cls.router.stop)
        cls.router.power_on()
        ask_all(cls.router, PATIENCE)
        cls.healthy = cls.answers()
        cls.daemon = cls.router.shell("pgrep -x apid")

    @classmethod
    def answers(cls):
        """Status and body by route; of the log, which grows, the status alone."""
        found = {route: tuple(answer) for route, answer in ask_all(cls.router, PATIENCE).items()}
        return found | {LOG: found[LOG][:1]}

    def check_all_answer(self, different=None):
        """With the status they always have, but for the different answers."""
        different = different or {}
        expected = {route: different.get(route, answer)[0] for route, answer in self.healthy.items()}
        answers = self.answers()
        self.assertEqual({route: answer[0] for route, answer in answers.items()}, expected)
        for route, answer in different.items():
            self.assertEqual(answers[route], answer)

    def check_healthy(self):
        self.assertEqual(self.answers(), self.healthy)
        self.assertEqual(self.router.shell("uci changes"), "")
        self.assertEqual(self.router.shell("pgrep -x apid"), self.daemon, "the daemon was started again")

    def push(self, **settings):
        self.assertEqual(ask(self.router, BATCH_SET, settings, PATIENCE), (200, {"result": 0, "response": {}}))

    def read(self, key):
        return ask(self.router, BATCH_GET, {}, PATIENCE).body["response"].get(key)

    def committed(self, path):
        return self.router.run(f"uci -t /var/none get {path}").stdout.strip()

    def check_files_are_whole(self):
        done = self.router.run("uci -t /var/none show >/dev/null")
        self.assertEqual((done.returncode, done.stderr), (0, ""))


class Requests(unittest.TestCase):
    def test_go_to_every_route(self):
        self.assertEqual(REQUESTS.keys(), documented_routes().keys())


class Disks(FaultTest):
    def test_read_only(self):
        with self.router.read_only("/etc"):
            self.check_all_answer()
            self.push(hostname="pier")
            self.assertEqual(self.committed(HOSTNAME), "heron")
            self.assertEqual(self.read("hostname"), "pier", "it is read as if it were stored")
        self.push()
        self.assertEqual(self.committed(HOSTNAME), "pier", "the next commit stores it")
        self.push(hostname="heron")
        self.check_healthy()

    def test_full(self):
        with self.router.full("/etc"):
            self.push(hostname="pier")
            self.assertEqual(self.committed(HOSTNAME), "heron")
            self.assertEqual(self.read("hostname"), "pier")
            self.check_all_answer()
            self.check_files_are_whole()
        self.push()
        self.assertEqual(self.committed(HOSTNAME), "pier")
        self.push(hostname="heron")
        self.check_healthy()

    def test_full_where_changes_are_recorded(self):
        with self.filled_tmp():
            self.push(hostname="pier")
            self.assertEqual(self.read("hostname"), "heron", "what cannot be recorded is not there, and nobody is told")
            self.check_all_answer()
        self.check_healthy()

    @contextlib.contextmanager
    def filled_tmp(self):
        self.router.run("cat /dev/zero >/tmp/filler")
        try:
            yield
        finally:
            self.router.shell("rm /tmp/filler")


class Files(FaultTest):
    @contextlib.contextmanager
    def content(self, path, text):
        kept = self.router.read(path)
        file = self.router.state / path.lstrip("/")
        file.write_text(text, encoding="ascii")
        try:
            yield
        finally:
            file.write_text(kept, encoding="ascii")

    def test_a_package_that_does_not_parse(self):
        for package in ("wireless", "zuconfig", "network", "system"):
            with self.subTest(package), self.content(f"/etc/config/{package}", "config x 'never ends\n"):
                self.check_all_answer()
            self.check_healthy()

    def test_no_package_parses(self):
        with contextlib.ExitStack() as all_broken:
            for package in self.router.shell("ls /etc/config").split():
                all_broken.enter_context(self.content(f"/etc/config/{package}", "option x"))
            self.check_all_answer()
        self.check_healthy()

    def test_other_packages_take_what_is_pushed(self):
        with self.content("/etc/config/system", "config x 'never ends\n"):
            self.push(hostname="pier", **{"2g_ssid": "Pier"})
            self.assertEqual(self.committed("wireless.@wifi-iface[0].ssid"), "Pier")
            self.assertIsNone(self.read("hostname"))
        self.assertEqual(self.committed(HOSTNAME), "heron")
        self.check_healthy()

    def test_no_time_zone_table(self):
        table = self.router.state / "run/image/usr/share/zoneinfo/tzdata.lua"
        kept = table.rename(table.with_name("kept"))
        for make in (lambda: None, table.mkdir, lambda: table.touch(0)):
            with self.subTest():
                make()
                self.check_all_answer()
                self.push(system_timezone="Europe/Berlin")
                self.assertEqual(self.committed("system.@system[0].zonename"), "Europe/Berlin")
                self.assertEqual(self.committed("system.@system[0].timezone"), "", "there is no rule to be found")
            if table.is_dir():
                table.rmdir()
        kept.replace(table)
        self.check_healthy()


class Programs(FaultTest):
    def test_missing(self):
        for program, different in MISSING.items():
            with self.subTest(program), self.router.replaced(program, None):
                self.check_all_answer(different)
        self.check_healthy()

    def test_flood(self):
        for program, route, place in FLOODS:
            with self.subTest(program, to=place), self.router.replaced(program, flood(LINE, HUNDRED_MB)):
                self.assertEqual(ask(self.router, route, REQUESTS[route], PATIENCE).status, 200)
        self.check_healthy()

    def test_a_log_of_a_million_lines(self):
        with self.router.replaced("logread", f"#!/bin/sh\n{BUSYBOX} yes '{LINE}' | {BUSYBOX} head -n 1000000\n"):
            answer = ask(self.router, LOG, {}, PATIENCE)
        self.assertEqual(answer.status, 200)
        self.assertEqual(answer.body["response"]["log"], [" all work and no play makes"] * 1000000)
        self.check_healthy()

    def test_a_log_that_does_not_fit_into_memory(self):
        with self.router.replaced("logread", flood(LINE + 1000 * "!", 300 << 20)):
            answer = ask(self.router, LOG, {}, PATIENCE)
        self.assertEqual(answer, (500, {"error": "the response does not fit into memory"}))
        self.check_healthy()


if __name__ == "__main__":
    unittest.main()
