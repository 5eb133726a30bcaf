# SPDX-License-Identifier: Apache-2.0
"""The box itself: what it keeps apart, restarts, keeps and refuses."""
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from router import BOX, IMAGE, PATIENCE, Router, run_box, wait_for


def start(test, model="heron", state=None):
    router = Router(model, state)
    test.addCleanup(router.stop)
    return router


def parents():
    """Process to parent, for all of this machine that run."""
    found = {}
    for entry in Path("/proc").glob("[0-9]*/stat"):
        try:
            text = entry.read_text(encoding="utf-8", errors="replace")
        except OSError:
            continue
        state, parent = text.rpartition(")")[2].split()[:2]
        if state != "Z":
            found[int(entry.parent.name)] = int(parent)
    return found


def descendants(process):
    parent_of = parents()
    family = {process}
    while more := {child for child, parent in parent_of.items() if parent in family} - family:
        family |= more
    return family


class Isolation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.router = Router("heron")
        cls.addClassCleanup(cls.router.stop)

    def test_no_file_of_the_machine(self):
        self.assertEqual(self.router.shell("ls /").split(),
                         "bin dev etc lib lib64 proc root run sbin tmp usr var www".split())
        with tempfile.NamedTemporaryFile() as file:
            self.assertFalse(self.router.exists(file.name))
        self.assertEqual(self.router.shell("cat /etc/passwd"), "root:x:0:0:root:/root:/bin/sh\n")

    def test_no_process_of_the_machine(self):
        outside = subprocess.Popen(["sleep", "98765"])
        self.addCleanup(outside.wait)
        self.addCleanup(outside.kill)
        self.assertEqual(self.router.run("pgrep -f 98765").returncode, 1)
        self.assertEqual(self.router.shell("cat /proc/1/comm"), "bwrap\n")

    def test_no_network_of_the_machine(self):
        self.assertEqual(re.findall(r"^\d+: (\w+)", self.router.shell("ip link"), re.MULTILINE), ["lo"])
        with socket.create_server(("127.0.0.1", 0)) as server:
            port = server.getsockname()[1]
            self.assertNotEqual(self.router.run(f"echo | nc -w 2 127.0.0.1 {port}").returncode, 0)

    def test_root_in_the_box_is_nobody_outside(self):
        inside, outside, count = self.router.shell("cat /proc/self/uid_map").split()
        self.assertEqual((inside, count), ("0", "1"))
        self.assertNotEqual(outside, "0")
        for path in ("/proc/sys/kernel/core_pattern", "/proc/sysrq-trigger", "/usr/bin/wget"):
            # This would open the file, but write nothing.
            self.assertNotEqual(self.router.run(f": >>{path}").returncode, 0, path)

    def test_own_host_name_and_environment(self):
        self.assertEqual(self.router.shell("hostname"), "router\n")
        names = {line.partition("=")[0] for line in self.router.shell("env").splitlines()}
        self.assertLessEqual(names, {"HOME", "OLDPWD", "PATH", "PWD", "SHLVL"})


class TwoBoxes(unittest.TestCase):
    def test_do_not_disturb_each_other(self):
        one, other = start(self, "heron"), start(self, "finch")
        self.assertNotEqual(one.url, other.url)
        self.assertEqual(one.post("/cloud/aerolink/batch_set", {"2g_ssid": "one only"}).response, {})
        one.shell("touch /tmp/mine; killall -9 rtty zu_bigdata")
        self.assertEqual(other.shell("uci get wireless.default_radio0.ssid"), "aerolink-5273\n")
        self.assertEqual(other.run("[ -e /tmp/mine ]").returncode, 1)
        self.assertEqual(other.run("pgrep rtty && pgrep zu_bigdata").returncode, 0)
        one.stop()
        self.assertEqual(other.get("/cloud/aerolink/get").result, 0)


class Restart(unittest.TestCase):
    def test_reboot_restarts_the_router(self):
        router = start(self)
        router.shell("touch /tmp/gone /etc/kept; uci set system.@system[0].hostname=lost; logger vanishing")
        router.shell("sleep 500 &")
        before = descendants(router.process.pid) - {router.process.pid}
        boots = router.boots()
        router.run("reboot")
        wait_for("the reboot", lambda: router.boots() == boots + 1)
        self.assertEqual(router.get("/cloud/aerolink/get").result, 0)
        self.assertFalse(before & descendants(router.process.pid), "a process outlived the reboot")
        self.assertFalse(router.exists("/tmp/gone"))
        self.assertTrue(router.exists("/etc/kept"))
        self.assertEqual(router.shell("uci get system.@system[0].hostname"), "heron\n")
        self.assertNotIn("vanishing", router.shell("logread"))

    def test_disabled_service_stays_down(self):
        router = start(self)
        router.shell("/etc/init.d/zu_mqtt disable")
        router.run("reboot")
        wait_for("the reboot", lambda: router.boots() == 2)
        wait_for("the last service", lambda: ["/etc/init.d/zu_autoupdate", "boot"] in router.journal()[-2:])
        self.assertEqual(router.run("pgrep -f sbin/zu_mqtt").returncode, 1)
        self.assertEqual(router.run("pgrep -f sbin/zu_bigdata").returncode, 0)

    def test_api_daemon_comes_back(self):
        router = start(self)
        wait_for("the daemon", lambda: router.run("pgrep apid").returncode == 0)
        router.shell("killall -9 apid")
        self.assertEqual(router.get("/cloud/aerolink/get").result, 0)
        self.assertIn("apid ended with status 137, starting it again", router.shell("logread"))


class Watchdog(unittest.TestCase):
    def test_a_router_whose_init_is_killed_starts_again(self):
        router = start(self)
        for number in (9, 11):
            boots = router.boots()
            router.run(f"kill -{number} $(pgrep -ox init)")
            wait_for("the watchdog", lambda: router.boots() == boots + 1)
            self.assertEqual(router.get("/cloud/aerolink/get").result, 0)

    def test_it_gives_up_on_one_that_is_killed_again_and_again(self):
        with tempfile.TemporaryDirectory() as folder:
            shutil.copytree(IMAGE, folder + "/image", symlinks=True)
            Path(folder, "image/sbin/init").write_text("#!/bin/sh\nkill -9 $$\n", encoding="ascii")
            done = run_box("run", "--model", "heron", "--image", folder + "/image", "--state", folder + "/state")
            self.assertEqual((done.returncode, done.stderr),
                             (1, "box: the box was killed 3 times in a row right after its start\n"))


class FactoryReset(unittest.TestCase):
    def test_makes_the_router_fresh_and_keeps_its_record(self):
        router = start(self)
        fresh = router.uci()
        router.shell("uci set system.@system[0].hostname=changed; uci commit; touch /etc/mine /www/mine; firstboot")
        self.assertEqual(router.shell("uci get system.@system[0].hostname"), "changed\n", "not before the next start")
        router.run("reboot")
        wait_for("the reboot", lambda: router.boots() == 2)
        self.assertEqual(router.uci(), fresh)
        self.assertFalse(router.exists("/etc/mine") or router.exists("/www/mine"))
        self.assertIn(["firstboot"], router.journal())
        router.run("reboot")
        wait_for("the reboot", lambda: router.boots() == 3)
        self.assertFalse(router.exists("/etc/firstboot"), "once is enough")


class Supervisor(unittest.TestCase):
    def assert_all_gone(self, processes):
        wait_for("the end of all processes", lambda: not processes & parents().keys())

    def test_stops_on_signals(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            router = Router("heron")
            wait_for("the services", lambda: router.run("pgrep rtty").returncode == 0)
            processes = descendants(router.process.pid)
            self.assertGreater(len(processes), 8)
            self.assertEqual(router.stop(number), 0)
            self.assert_all_gone(processes)

    def test_leaves_nothing_when_stopped_early(self):
        for delay in range(0, 60, 4):
            router = Router("heron")
            processes = set()
            deadline = time.monotonic() + delay / 1000
            while time.monotonic() < deadline:
                processes |= descendants(router.process.pid)
            self.assertEqual(router.stop(), 0, f"{delay} ms")
            self.assert_all_gone(processes)

    def test_takes_the_box_along_when_killed(self):
        router = Router("heron")
        wait_for("the services", lambda: router.run("pgrep rtty").returncode == 0)
        processes = descendants(router.process.pid)
        self.assertEqual(router.stop(signal.SIGKILL), -signal.SIGKILL)
        self.assert_all_gone(processes)

    def test_takes_the_box_along_when_killed_at_its_start(self):
        for delay in range(0, 20, 5):
            router = Router("heron")
            time.sleep(delay / 1000)
            processes = descendants(router.process.pid)
            router.stop(signal.SIGKILL)
            time.sleep(0.2)
            self.assert_all_gone(processes)

    def test_state_is_kept_from_run_to_run(self):
        with tempfile.TemporaryDirectory() as folder:
            with Router("wren", folder + "/state") as router:
                router.shell("uci set system.@system[0].hostname=kept && uci commit")
            with Router("wren", folder + "/state") as router:
                self.assertEqual(router.shell("uci get system.@system[0].hostname"), "kept\n")
                self.assertEqual(router.boots(), 2)

    def refusal(self, model, folder):
        done = run_box("run", "--model", model, "--image", IMAGE, "--state", folder)
        self.assertEqual(done.returncode, 1)
        return done.stderr

    def test_refuses_a_state_that_is_not_its_own(self):
        with tempfile.TemporaryDirectory() as folder:
            state = folder + "/state"
            with Router("wren", state):
                self.assertIn("in use by another box", self.refusal("wren", state))
            self.assertIn("holds a wren, not a heron", self.refusal("heron", state))
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "precious").touch()
            self.assertIn("neither empty nor a router's state", self.refusal("heron", folder))
            self.assertEqual(os.listdir(folder), ["precious"])

    def test_commands_need_a_running_box(self):
        with tempfile.TemporaryDirectory() as folder:
            with Router("heron", folder + "/state") as router:
                self.assertEqual(router.run("true").returncode, 0)
            self.assert_says_that_none_runs(router)
            with Router("heron", folder + "/state") as killed:
                killed.stop(signal.SIGKILL)
            self.assertTrue(killed.state.joinpath("run/boots").exists(), "what a box that was killed leaves behind")
            self.assert_says_that_none_runs(killed)

    def assert_says_that_none_runs(self, router):
        start = time.monotonic()
        done = router.run("true")
        self.assertEqual((done.returncode, done.stderr), (1, f"box: no box runs in {router.state}\n"))
        self.assertLess(time.monotonic() - start, 5, "says it at once")

    def test_a_command_that_fails_leaves_nothing_behind(self):
        router = start(self)
        for timeout, command, message in (("0.5", "sleep 20", "no end after 0.5 seconds"),
                                          ("20", "reboot; sleep 20", "the router restarted")):
            done = run_box("exec", "--state", router.state, "--timeout", timeout, command)
            self.assertEqual((done.returncode, done.stderr), (1, f"box: {message}\n"))
        self.assertEqual(os.listdir(router.state / "run/control"), ["bell"])

    def test_says_why_a_box_could_not_start(self):
        with tempfile.TemporaryDirectory() as folder:
            shutil.copytree(IMAGE, folder + "/image", symlinks=True)
            init = Path(folder, "image/sbin/init")
            init.write_text("#!/bin/sh\necho no firmware; exit 3\n", encoding="ascii")
            done = run_box("run", "--model", "heron", "--image", folder + "/image",
                           "--state", folder + "/state", "--show")
            self.assertEqual((done.returncode, done.stderr),
                             (1, "box: the box ended with status 3\nno firmware\n"))


class Guide(unittest.TestCase):
    def test_printed_lines_work_when_pasted(self):
        with tempfile.TemporaryDirectory() as folder:
            box = subprocess.Popen([sys.executable, BOX, "run", "--model", "heron", "--image", IMAGE,
                                    "--state", folder + "/state", "--show"],
                                   stdout=subprocess.PIPE, text=True)
            text = ""
            while "until Ctrl-C" not in text:
                text += box.stdout.readline()
            lines = re.findall(r"^  (curl (?:.*\\\n)*.*)$", text, re.MULTILINE)
            self.assertEqual(len(lines), 3)
            replies = [subprocess.run(["sh", "-c", line], capture_output=True, text=True, check=True).stdout
                       for line in lines]
            look = subprocess.run(["sh", "-c", re.search(r"Look inside: *(.*)", text).group(1)],
                                  capture_output=True, text=True, check=True).stdout
            shown = ""
            while "ubus call mqtt notify" not in shown or "log      " not in shown:
                shown += box.stdout.readline()
            box.send_signal(signal.SIGINT)
            rest = box.communicate(timeout=PATIENCE)[0]
            self.assertEqual(box.returncode, 0)
            self.assertEqual(rest.splitlines()[-1], f"The heron is off; what it keeps is in {folder}/state")
        self.assertEqual(replies[0], '{"result":0,"response":{}}')
        self.assertIn('"2g_ssid":"Harbour Cafe"', replies[1])
        self.assertIn('"cloud_enable":true', replies[2])
        self.assertIn("wireless.@wifi-iface[0].ssid='Harbour Cafe'", look)


if __name__ == "__main__":
    unittest.main()
