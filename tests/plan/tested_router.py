# SPDX-License-Identifier: Apache-2.0
"""A router in a box that is brought into a state, sent requests, and looked at: what it was asked and what became of it."""
import base64
import json
import os
import shlex
import subprocess
from datetime import datetime
from typing import NamedTuple

from boxes import control
from boxes.state import State
from router import PATIENCE, Router, wait_for
from uci_show import parse_show

AEROLINK = os.environ.get("AEROLINK", "aerolink")
PRISTINE = "/var/pristine"
NO_DELTA = "/var/no-delta"
WATCHED_FILES = ("/etc/wbf/customer", "/tmp/reboot_flag", "/tmp/TZ")
REBOOT_THAT_IS_NONE = '#!/bin/sh\njournal reboot "$@"\n'


class Observed(NamedTuple):
    committed: dict   # path to value, what is in the files; a section's value is its type
    recorded: dict    # the same with the changes that no one committed
    files: dict       # content of those WATCHED_FILES that there are


class Record:
    """The daemon's record of requests and of the plug-in's calls, from where it was read last."""

    def __init__(self, path):
        self.path = path
        self.file = None

    def read(self):
        lines = []
        while True:
            if self.file is None:
                if not self.path.exists():
                    return lines
                self.file = self.path.open(encoding="utf-8")
            lines += [json.loads(line) for line in self.file]
            if not self.path.exists() or os.fstat(self.file.fileno()).st_ino == self.path.stat().st_ino:
                return lines
            self.close()
            self.file = None

    def close(self):
        if self.file is not None:
            self.file.close()


class TestedRouter:
    """reboots: whether it does when it is asked to; otherwise the call is noted in its journal, and that is all."""

    def __init__(self, model, reboots=False):
        self.router = Router(model)
        self.router.wait_until_booted()
        if not reboots:
            (self.router.state / "run/image/sbin/reboot").write_text(REBOOT_THAT_IS_NONE, encoding="ascii")
        self.record = Record(self.router.state / "var/log/trace")
        self.reboot_pending = False
        self.full_read_done = False
        self.seconds = 0.0  # that the handler took last
        self.shell(f"mkdir -p {NO_DELTA} && cp -a /etc/config {PRISTINE}")
        self.planner = subprocess.Popen([AEROLINK, "plan", "--stream"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        text=True, encoding="utf-8")

    def stop(self):
        self.planner.stdin.close()
        self.planner.wait(timeout=10)
        self.planner.stdout.close()
        self.record.close()
        self.router.stop()

    def shell(self, command):
        """As the router's, but without a process out here, of which a test starts very many."""
        done = control.execute(State(self.router.state), command, PATIENCE)
        if done.status != 0:
            raise AssertionError(f"{command}: status {done.status}\n{done.output}{done.errors}")
        return done.output.decode("utf-8", "surrogateescape")

    # --- State

    def set_state(self, state):
        self._set_reboot_pending(state.reboot_pending)
        self._set_full_read(state.full_read_done)
        script = ["killall -9 xwf-fix 2>/dev/null || :",  # one that was started for the state before
                  "rm -rf /etc/config /tmp/.uci /etc/tertf/tertfinfo_bak /tmp/tertf/tertfinfo_bak "
                  "/etc/device/xwf_delay " + " ".join(WATCHED_FILES),
                  f"cp -a {PRISTINE} /etc/config",
                  f"echo {int(state.repeater)} >/etc/device/repeater",
                  "sed -i 's/ \\(up\\|down\\)$/ " + ("up" if state.internet else "down") + "/' /etc/device/ping"]
        script += self._options(state.options) + ["uci commit"] + self._options(state.uncommitted)
        if state.companion == "installed":
            script.append("printf \"config xwf 'general'\\n\\toption xwf_mode 'old'\\n\" >/etc/config/xwf")
        if state.companion == "starting":
            script.append("echo 0.3 >/etc/device/xwf_delay")
        for path, content in (("/etc/wbf/customer", state.customer), ("/tmp/reboot_flag", state.reboot_flag)):
            if content is not None:
                script.append(f"printf %s {shlex.quote(content)} >{path}")
        if state.backup:
            script.append("echo accounts >/tmp/tertf/tertfinfo_bak")
        self.shell("\n".join(script))

    @staticmethod
    def _options(options):
        return [f"uci -q delete {shlex.quote(path)} || :" if value is None else
                f"uci -q set {shlex.quote(f'{path}={value}')} || :" for path, value in options.items()]

    def _set_reboot_pending(self, wanted):
        if wanted != self.reboot_pending:
            self.send("/cloud/aerolink/batch_set", {"reboot_flag": "1" if wanted else "0"})

    def _set_full_read(self, wanted):
        if self.full_read_done and not wanted:
            self._restart_daemon()
        elif wanted:
            self.send("/cloud/aerolink/batch_get", {})

    def _restart_daemon(self):
        """The plug-in as it is loaded, a second later."""
        self.shell("killall -9 apid")
        wait_for("the daemon", self._answers)
        self.reboot_pending = self.full_read_done = False
        self.record.read()

    def _answers(self):
        try:
            self.router.get("/cloud/aerolink/get")
        except (subprocess.CalledProcessError, ValueError, KeyError):
            return False
        return True

    # --- Requests

    def plan(self, request, companion_seconds=1):
        done = subprocess.run([AEROLINK, "snapshot", "--device", self.router.state], capture_output=True, text=True,
                              check=True)
        self.snapshot = json.loads(done.stdout) | {"reboot_pending": self.reboot_pending,
                                                   "full_read_done": self.full_read_done}
        return self.plan_again(request, companion_seconds)

    def plan_again(self, request, companion_seconds):
        """From the snapshot that plan has taken."""
        line = self.snapshot | {"request": request.members, "route": request.route}
        if line["companion"] == "starting":
            line["companion_seconds"] = companion_seconds
        self.planner.stdin.write(json.dumps(line) + "\n")
        self.planner.stdin.flush()
        return json.loads(self.planner.stdout.readline())

    def send(self, route, members):
        """The reply, and the daemon's record of what the plug-in did."""
        self.record.read()
        if route.rpartition("/")[2] in ("get", "batch_get", "get_config", "log"):
            reply = self.router.get(route, members.get("name", ()))
        else:
            reply = self.router.post(route, members)
        lines = self.record.read()
        first, last = (datetime.fromisoformat(lines[end]["time"]) for end in (0, -1))
        self.seconds = (last - first).total_seconds()
        calls = [(line["kind"], line["of"]) for line in lines]
        calls = [call for call in calls if call[0] not in ("request", "reply", "dispatched")]
        if route.rpartition("/")[2] in ("batch_set", "set_config"):
            self.reboot_pending = ("fork", {"command": "sleep 1; reboot"}) in calls
        if self.router.model == "falcon" and route.endswith("/batch_get") and "name" not in members:
            self.full_read_done = True
        return reply, calls

    def observe(self):
        script = [f"uci -t {NO_DELTA} show", "echo --", "uci show", "echo --"]
        script += [f"[ ! -e {path} ] || echo {path} $(base64 {path} | tr -d '\\n')" for path in WATCHED_FILES]
        committed, recorded, files = self.shell("\n".join(script)).split("\n--\n")
        contents = (line.partition(" ") for line in files.splitlines())
        return Observed(parse_show(committed + "\n"), parse_show(recorded + "\n"),
                        {path: base64.b64decode(text).decode("utf-8", "surrogateescape") for path, _, text in contents})
