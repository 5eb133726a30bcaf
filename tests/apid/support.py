# SPDX-License-Identifier: Apache-2.0
"""Starts the daemon for a test, talks to it, and stops it again."""

import contextlib
import http.client
import json
import os
import shlex
import signal
import socket
import subprocess
import tomllib
import unittest
from pathlib import Path

COMMAND = shlex.split(os.environ["APID_COMMAND"])
PLUGINS = os.environ["APID_PLUGINS"]
TEST_PLUGIN = os.environ["APID_TEST_PLUGIN"]
PATIENCE = 60  # seconds before a test gives up on the daemon
DOCUMENTED = tomllib.loads((Path(__file__).resolve().parents[2] / "tools/vocabulary/schema/routes.toml")
                           .read_text(encoding="utf-8"))["daemon"]
STATUSES = ({int(status) for status in DOCUMENTED["refusals"]}
            | {row["status"] for row in DOCUMENTED["results"].values()})


def plugin(name):
    return os.path.join(PLUGINS, name + ".so")


def run(*arguments, **options):
    """Runs the daemon with arguments that it should not serve with."""
    return subprocess.run([*COMMAND, *arguments], capture_output=True, text=True, timeout=PATIENCE,
                          check=False, **options)


class Daemon:
    """A running daemon; `host` is what its Host header says, `port` where it listens."""

    def __init__(self, *arguments, listen="127.0.0.1:0", plugins=(TEST_PLUGIN,), **options):
        command = [*COMMAND, *(["--listen", listen] if listen else [])]
        for file in plugins:
            command += ["--plugin", file]
        self.process = subprocess.Popen([*command, *arguments], stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True, **options)
        self.ready = self.process.stdout.readline()
        if not self.ready.startswith("listening on http://"):
            raise AssertionError(f"daemon did not start: {self.ready} {self.process.communicate()[1]}")
        self.host = self.ready.strip().removeprefix("listening on http://")
        address, _, port = self.host.rpartition(":")
        self.address, self.port = address.strip("[]"), int(port)

    def connect(self):
        return socket.create_connection((self.address, self.port), timeout=PATIENCE)

    def request(self, method, path, body=None, headers=None):
        """One request on its own connection: status, headers and the JSON of the reply."""
        connection = http.client.HTTPConnection(self.address, self.port, timeout=PATIENCE)
        try:
            return ask(connection, method, path, body, headers)
        finally:
            connection.close()

    def get(self, path, **headers):
        return self.request("GET", path, headers=headers)

    def post(self, path, value):
        """Posts a value as JSON, or text and bytes as they are."""
        body = value if isinstance(value, (str, bytes)) else json.dumps(value)
        return self.request("POST", path, body, {"Content-Type": "application/json"})

    def raw(self, sent):
        """Sends bytes on one connection, ends its own side, and gives all that comes back."""
        with self.connect() as client:
            client.sendall(sent)
            client.shutdown(socket.SHUT_WR)
            return read_all(client)

    def stop(self, signal_number=signal.SIGTERM):
        """Stops the daemon; gives its exit status and what it wrote to its error output."""
        self.process.send_signal(signal_number)
        return self.wait()

    def wait(self):
        _, errors = self.process.communicate(timeout=PATIENCE)
        return self.process.returncode, errors


def ask(connection, method, path, body=None, headers=None):
    connection.request(method, path, body, headers or {})
    reply = connection.getresponse()
    text = reply.read()
    assert reply.status in STATUSES, f"clients are not told of the status {reply.status}"
    return reply.status, reply.headers, json.loads(text) if text else None


def read_all(client):
    pieces = []
    with contextlib.suppress(ConnectionResetError):
        while piece := client.recv(65536):
            pieces.append(piece)
    return b"".join(pieces)


def replies(received):
    """What came back on one connection as (status, headers, JSON); fails unless each is whole and well-formed."""
    found = []
    while received:
        head, _, received = received.partition(b"\r\n\r\n")
        first, *lines = head.decode("ascii").split("\r\n")
        protocol, status, _ = first.split(" ", 2)
        headers = [line.split(": ", 1) for line in lines]
        names = [name.lower() for name, _ in headers]
        assert protocol == "HTTP/1.1" and len(set(names)) == len(names), head
        if status == "100":
            continue
        headers = dict(zip(names, (value for _, value in headers)))
        length = int(headers["content-length"])
        assert headers["content-type"] == "application/json" and len(received) >= length, (head, received)
        assert int(status) in STATUSES, f"clients are not told of the status {status}"
        found.append((int(status), headers, json.loads(received[:length])))
        received = received[length:]
    return found


class DaemonTest(unittest.TestCase):
    """Tests with a daemon of their own; it must end cleanly, sanitizers and valgrind included."""

    maxDiff = None

    def daemon(self, *arguments, **options):
        daemon = Daemon(*arguments, **options)
        self.addCleanup(self.check_end, daemon)
        return daemon

    def check_end(self, daemon):
        if daemon.process.returncode is None:
            self.assertEqual(daemon.stop(), (0, ""))
