# SPDX-License-Identifier: Apache-2.0
"""What goes to syslog."""

import os
import syslog
import tempfile
import unittest

from support import PLUGINS, TEST_PLUGIN, Daemon, run

RECORDER = os.path.join(PLUGINS, "syslog_recorder.so")


class Log(unittest.TestCase):
    def setUp(self):
        file = tempfile.NamedTemporaryFile("r", encoding="utf-8")
        self.addCleanup(file.close)
        self.record = file
        self.environment = {**os.environ, "LD_PRELOAD": RECORDER, "SYSLOG_RECORD": file.name}

    def lines(self):
        """(priority, text) of each line; all of them are of ident apid, facility daemon."""
        lines = []
        for line in self.record.read().splitlines():
            ident, facility, priority, text = line.split(" ", 3)
            self.assertEqual((ident, int(facility)), ("apid", syslog.LOG_DAEMON), line)
            lines.append((int(priority), text))
        return lines

    def test_life(self):
        daemon = Daemon(env=self.environment)
        daemon.get("/test/echo?secret=1")
        daemon.post("/test/result", {"code": -4})
        daemon.get("/gone%0Afake%20line")
        daemon.get("/gone%0Afake%20line", Host="example.com")
        self.assertEqual(daemon.stop(), (0, ""))
        self.assertEqual(self.lines(), [
            (syslog.LOG_INFO, f"listening on {daemon.host}"),
            (syslog.LOG_INFO, "GET /test/echo: result 0, status 200"),
            (syslog.LOG_INFO, "POST /test/result: result -4, status 422"),
            (syslog.LOG_NOTICE, 'request refused: {"error":"Host is not this daemon\'s address"}'),
            (syslog.LOG_INFO, "stopped"),
        ])

    def test_start_errors_are_logged_and_shown(self):
        done = run("--listen", "127.0.0.1:0", "--plugin", TEST_PLUGIN, "--plugin", "/no/such.so",
                   env=self.environment)
        self.assertEqual(done.returncode, 1)
        (priority, text), = self.lines()
        self.assertEqual(priority, syslog.LOG_ERR)
        self.assertEqual(done.stderr, f"apid: {text}\n")
        self.assertTrue(text.startswith("plug-in /no/such.so: cannot be loaded: "), text)
