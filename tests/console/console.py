# SPDX-License-Identifier: Apache-2.0
"""A router in a box with its console, and a browser for it."""
import http.client
import json
import os
import signal
import subprocess
import sys
import tempfile
import urllib.parse
from pathlib import Path

from router import BOX, IMAGE, PATIENCE, SOURCE, run_box, wait_for

CONSOLE = SOURCE / "tools/console/console"
AEROLINK = os.environ["AEROLINK"]

sys.path += [str(SOURCE / "tools/console"), str(SOURCE / "devkit/router")]


class Console:
    """A router of a model, fresh from the factory, and its console, both from one command as ./run starts them."""

    def __init__(self, model, aerolink=AEROLINK):
        self.model = model
        self.folder = tempfile.TemporaryDirectory(prefix="console-")
        self.state = Path(self.folder.name) / "state"
        self.process = subprocess.Popen(
            [CONSOLE, "--aerolink", aerolink, "--state", self.state, "--", sys.executable, BOX, "run", "--model", model,
             "--image", IMAGE, "--state", self.state], stdout=subprocess.PIPE, text=True)
        self.address = self.process.stdout.readline().split()[-1]
        self.url = self.process.stdout.readline().split()[-1]
        parts = urllib.parse.urlsplit(self.address)
        self.host, self.port, self.token = parts.netloc, parts.port, parts.query.partition("=")[2]

    def stop(self, number=signal.SIGTERM):
        self.process.send_signal(number)
        self.process.communicate(timeout=PATIENCE)
        self.folder.cleanup()
        return self.process.returncode

    def ask(self, method, path, body=None, token=True, **headers):
        """Status, headers and body of an answer of the console."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=PATIENCE)
        connection.putrequest(method, path, skip_host=True)
        text = None if body is None else body if isinstance(body, bytes) else json.dumps(body).encode()
        given = {"Host": self.host, "Origin": f"http://{self.host}" if method == "POST" else None,
                 "Cookie": f"console-{self.port}={self.token}" if token else None,
                 "Content-Type": None if text is None else "application/json",
                 "Content-Length": None if text is None else str(len(text))}
        for name, value in (given | {name.replace("_", "-"): value for name, value in headers.items()}).items():
            if value is not None:
                connection.putheader(name, value)
        connection.endheaders(text)
        response = connection.getresponse()
        answer = response.status, response.headers, response.read()
        connection.close()
        return answer

    def get(self, path):
        status, _, body = self.ask("GET", path)
        assert status == 200, (status, body)
        return json.loads(body)

    def post(self, path, body):
        status, _, text = self.ask("POST", path, body)
        return status, json.loads(text)

    def shell(self, command):
        done = run_box("exec", "--state", self.state, command)
        assert done.returncode == 0, done.stderr
        return done.stdout

    def journal(self):
        return (self.state / "var/log/journal").read_text(encoding="utf-8")

    def wait_until_booted(self, boots=1):
        wait_for("the boot", lambda: self.journal().count("Z /etc/init.d/zu_autoupdate boot") >= boots)
