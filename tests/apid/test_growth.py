# SPDX-License-Identifier: Apache-2.0
"""Thousands of requests leave neither memory nor descriptors behind."""

import http.client
import os
import time

from support import PATIENCE, DaemonTest, ask

JSON = {"Content-Type": "application/json"}
KINDS = [
    ("GET", "/test/echo?name=a&name=b&x=1", None, {}, 200),
    ("GET", "/test/named?name=a&name=b", None, {}, 200),
    ("POST", "/test/echo_post", '{"name": ["a", "b"], "x": {"y": [1, 2, 3]}}', JSON, 200),
    ("POST", "/test/named_post", '{"name": ["a", "b"]}', JSON, 200),
    ("POST", "/test/named_echo", '{"name": "a"}', JSON, 200),
    ("POST", "/test/dispatch", '{"name": ["a"], "path": "/test/named", "times": 3}', JSON, 200),
    ("POST", "/test/result", '{"code": -5}', JSON, 400),
    ("POST", "/test/echo_post", '{"name": ["a", "b"]', JSON, 400),
    ("POST", "/test/echo_post", "{}", {}, 415),
    ("GET", "/test/bytes?hex=ff", None, {}, 200),
    ("GET", "/test/large?size=100000", None, {}, 200),
    ("GET", "/none", None, {}, 404),
    ("PUT", "/test/echo", "{}", JSON, 405),
    ("GET", "/test/echo", None, {"Origin": "http://example.com"}, 403),
]


class Growth(DaemonTest):
    def test_nothing_is_left_behind(self):
        daemon = self.daemon()
        files = self.files(daemon)
        self.rounds(daemon, 40)
        memory = self.memory(daemon)
        self.rounds(daemon, 400)
        self.assertLess(self.memory(daemon) - memory, 300, "kB more after 5600 requests")
        self.wait_for_files(daemon, files)

    def rounds(self, daemon, count):
        """Every kind of request in each round, and a new connection for every tenth round."""
        for start in range(0, count, 10):
            connection = http.client.HTTPConnection(daemon.address, daemon.port, timeout=PATIENCE)
            for _ in range(start, min(start + 10, count)):
                for method, path, body, headers, status in KINDS:
                    self.assertEqual(ask(connection, method, path, body, headers)[0], status, path)
            connection.close()

    def memory(self, daemon):
        with open(f"/proc/{daemon.process.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) for line in status if line.startswith("VmRSS:"))

    def files(self, daemon):
        return len(os.listdir(f"/proc/{daemon.process.pid}/fd"))

    def wait_for_files(self, daemon, files):
        """The daemon sees a moment later that its last client is gone."""
        deadline = time.monotonic() + 5
        while self.files(daemon) != files and time.monotonic() < deadline:
            time.sleep(0.01)
        self.assertEqual(self.files(daemon), files)
