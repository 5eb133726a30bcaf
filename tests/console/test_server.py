# SPDX-License-Identifier: Apache-2.0
"""The console's server: who may ask, what it answers, what it starts and ends with."""
import http.client
import json
import os
import signal
import socket
import subprocess
import unittest
from pathlib import Path

from console import AEROLINK, CONSOLE, Console
from router import PATIENCE, SOURCE, wait_for
from test_supervision import descendants, parents

PUSH = "/cloud/aerolink/batch_set"


class ServerTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.console = Console("heron")
        cls.addClassCleanup(cls.console.stop)
        cls.console.wait_until_booted()


class Access(ServerTest):
    PATHS = ("/", "/page/main.js", "/api/router", "/api/timeline", "/api/world", "/api/logo", "/nowhere")

    def status(self, *arguments, **more):
        return self.console.ask(*arguments, **more)[0]

    def test_listens_on_loopback_only(self):
        self.assertTrue(self.console.address.startswith("http://127.0.0.1:"))
        with self.assertRaises(OSError):
            socket.create_connection((socket.gethostbyname(socket.gethostname()), self.console.port), 1) \
                if not socket.gethostbyname(socket.gethostname()).startswith("127.") else self.refuse()

    @staticmethod
    def refuse():
        raise OSError("this machine has no address but loopback")

    def test_nothing_without_the_token(self):
        for path in self.PATHS:
            self.assertEqual(self.status("GET", path, token=False), 401, path)
            self.assertEqual(self.status("GET", path, Cookie=f"console-{self.console.port}=wrong"), 401, path)
            self.assertEqual(self.status("GET", path, Cookie="console-1=" + self.console.token), 401, path)
        self.assertEqual(self.status("POST", "/api/world", {}, token=False), 401)
        for token in ("", "x", "%00", "%ff", self.console.token[:-1]):
            self.assertEqual(self.status("GET", f"/?token={token}"), 401, token)

    def test_the_address_gives_a_cookie_that_other_sites_cannot_use(self):
        status, headers, _ = self.console.ask("GET", f"/?token={self.console.token}", token=False)
        self.assertEqual((status, headers["Location"]), (303, "/"))
        for word in (self.console.token, "HttpOnly", "SameSite=Strict", "Path=/"):
            self.assertIn(word, headers["Set-Cookie"])
        self.assertEqual(self.status("GET", f"/api/router?token={self.console.token}", token=False), 401)

    def test_only_its_own_host_and_origin(self):
        for host in ("evil.example", f"evil.example:{self.console.port}", "127.0.0.1", "127.0.0.1:1", "", None):
            self.assertIn(self.status("GET", "/api/router", Host=host), (400, 421), host)
        self.assertEqual(self.status("GET", "/api/router", Host=f"localhost:{self.console.port}"), 200)
        for origin in ("http://evil.example", "null", f"https://{self.console.host}", "http://127.0.0.1:1"):
            self.assertEqual(self.status("GET", "/api/router", Origin=origin), 403, origin)
            self.assertEqual(self.status("POST", "/api/world", {}, Origin=origin), 403, origin)
        self.assertEqual(self.status("POST", "/api/world", {}, Origin=None), 403)

    def test_every_answer_is_confined(self):
        for path, token in [("/", True), ("/page/style.css", True), ("/api/router", True), ("/nowhere", True),
                            ("/api/router", False)]:
            headers = self.console.ask("GET", path, token=token)[1]
            policy = headers["Content-Security-Policy"]
            self.assertIn("default-src 'none'", policy)
            self.assertNotIn("unsafe", policy)
            self.assertEqual((headers["X-Content-Type-Options"], headers["Cache-Control"], headers["Referrer-Policy"]),
                             ("nosniff", "no-store", "no-referrer"))

    def test_files_of_the_page_and_no_others(self):
        for name in ("server.py", "..%2fserver.py", "%2e%2e/server.py", ".hidden", "main.js%00", "nothing.js"):
            self.assertIn(self.status("GET", f"/page/{name}"), (400, 404), name)

    def test_the_page_asks_nobody_else(self):
        for file in (SOURCE / "tools/console/page").iterdir():
            text = file.read_text(encoding="utf-8").replace("http://www.w3.org/2000/svg", "")
            self.assertNotRegex(text, "https?:|[\"'(]//", file.name)

    def test_bodies(self):
        for path in ("/api/plan", "/api/matrix", "/api/push", "/api/world"):
            for body in (b"", b"{", b"[]", b'"x"', b"\xff", b"[" * 100000):
                self.assertIn(self.status("POST", path, body), (400, 409), (path, body[:9]))
            self.assertEqual(self.status("POST", path, b"{}", Content_Type="text/plain"), 415)
            self.assertEqual(self.status("POST", path, b" " * (2 << 20)), 413)
        for body in ({"route": 1, "request": {}}, {"route": PUSH}, {"route": PUSH, "request": []}):
            self.assertEqual(self.status("POST", "/api/plan", body), 400)


class Answers(ServerTest):
    def test_router(self):
        answer = self.console.get("/api/router")
        self.assertEqual((answer["model"], answer["url"]), ("heron", self.console.url))
        self.assertIn("finch", answer["models"])

    def test_current_values_change_nothing(self):
        values = self.console.get(f"/api/settings?route=/cloud/aerolink/batch_get&name=2g_ssid&name=lan_ip")
        self.assertEqual(values, {"2g_ssid": "aerolink-4017", "lan_ip": "192.168.62.1"})

    def test_plan_and_reality_agree_on_hostile_values(self):
        for value in ("<img src=x onerror=alert(1)>", "\"'`$(reboot)", "Ünïcödé ☃", "a\nb", "line\u2028end", ""):
            status, answer = self.console.post("/api/push", {"route": PUSH, "request": {"hostname": value}})
            self.assertEqual((status, answer.get("faults")), (200, []), (value, answer))
        status, answer = self.console.post("/api/plan", {"route": "/nowhere", "request": {}})
        self.assertIn("error", answer)

    def test_a_planner_that_dies_is_started_again(self):
        wish = {"route": PUSH, "request": {"hostname": "x"}}
        self.console.post("/api/plan", wish)
        planner = next(child for child in descendants(self.console.process.pid)
                       if "--stream" in command_line(child))
        os.kill(planner, signal.SIGKILL)
        wait_for("its end", lambda: planner not in parents())
        statuses = [self.console.post("/api/plan", wish)[0] for _ in range(2)]
        self.assertEqual(statuses[-1], 200)

    def test_switches_that_there_are_not(self):
        for wish in ({}, {"name": "sun"}, {"name": "companion", "value": "x"},
                     {"name": "companion", "value": {"state": "starting", "seconds": -1}},
                     {"name": "companion", "value": {"state": "starting", "seconds": "1; reboot"}},
                     {"name": ["x"]}):
            self.assertEqual(self.console.post("/api/world", wish)[0], 409, wish)


def command_line(process):
    return Path(f"/proc/{process}/cmdline").read_text(encoding="utf-8", errors="replace")


class Life(unittest.TestCase):
    def test_ends_with_all_it_started(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            console = Console("finch")
            console.wait_until_booted()
            family = descendants(console.process.pid)
            self.assertGreater(len(family), 5)
            self.assertEqual(console.stop(number), 0)
            wait_for("the end of all processes", lambda: not family & parents().keys())

    def test_takes_the_box_along_when_killed(self):
        console = Console("finch")
        console.wait_until_booted()
        family = descendants(console.process.pid)
        console.stop(signal.SIGKILL)
        wait_for("the end of all processes", lambda: not family & parents().keys())

    def test_ends_with_its_box_and_its_status(self):
        done = subprocess.run([CONSOLE, "--aerolink", AEROLINK, "--state", "/nonexistent", "--", "sh", "-c", "exit 7"],
                              capture_output=True, text=True, timeout=PATIENCE, check=False)
        self.assertEqual((done.returncode, done.stderr), (7, ""))
        self.assertRegex(done.stdout, r"^The router's console: http://127\.0\.0\.1:\d+/\?token=[\w-]{20,}\n$")

    def test_a_taken_port(self):
        with socket.create_server(("127.0.0.1", 0)) as taken:
            port = str(taken.getsockname()[1])
            done = subprocess.run([CONSOLE, "--port", port, "--state", "/nonexistent", "--", "touch", "/nonexistent"],
                                  capture_output=True, text=True, timeout=PATIENCE, check=False)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("choose another with --console-port", done.stderr)

    def test_without_a_box(self):
        done = subprocess.run([CONSOLE, "--state", "/nonexistent"], capture_output=True, text=True, timeout=PATIENCE,
                              check=False)
        self.assertEqual((done.returncode, done.stderr), (1, "console: no box runs in /nonexistent\n"))


class Stream(ServerTest):
    def test_goes_on_where_it_stopped(self):
        first = self.read_some({})
        self.assertTrue(first)
        self.console.shell("logger -t test 'after the break'")
        again = self.read_some({"Last-Event-ID": str(first[-1])}, "after the break")
        self.assertGreater(min(again), max(first))
        self.assertEqual(set(self.read_some({"Last-Event-ID": "99999999"})) >= set(first), True, "of another server")

    def read_some(self, headers, wanted=""):
        """Numbers of the events, up to one with the wanted text."""
        connection = http.client.HTTPConnection("127.0.0.1", self.console.port, timeout=PATIENCE)
        connection.request("GET", "/api/timeline",
                           headers={"Cookie": f"console-{self.console.port}={self.console.token}", **headers})
        response = connection.getresponse()
        self.assertEqual(response.headers["Content-Type"], "text/event-stream")
        numbers, text = [], ""
        while not numbers or wanted not in text:
            line = response.readline().decode()
            if line.startswith("data: "):
                numbers += [event["number"] for event in json.loads(line[6:])]
                text += line
        connection.close()
        return sorted(numbers)


if __name__ == "__main__":
    unittest.main()
