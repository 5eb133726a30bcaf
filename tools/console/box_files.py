# SPDX-License-Identifier: Apache-2.0
"""The router's outside: its world, through the box's own files; and all that decides what a request does to it."""
import asyncio
import contextlib
import io
import json
import shlex
import tarfile

from boxes import control

DEVICE = "/etc/device"
FULL = "/tmp/.full"
COMPANION = "/etc/config/xwf"
COMPANION_TEXT = "config xwf 'general'\n\toption enable '1'\n"
MOST_COMPANION_SECONDS = 60
FLOOD_LINES = 2000
EXEC_SECONDS = 30

# Files that a request's outcome depends on: kept ones, and those of the running router.
KEPT_FILES = ("/etc/wbf/customer", "/etc/device/ping", "/etc/shadow")
RUNNING_FILES = ("tmp/.uci", "tmp/reboot_flag", "tmp/TZ", "tmp/dhcp.leases")
BATCH_READ = "/cloud/aerolink/batch_get"


class Unusable(Exception):
    """What was asked for cannot be done; says why."""


class BoxFiles:
    def __init__(self, state, timeline):
        self.state = state
        self.timeline = timeline

    async def run(self, command):
        """Runs a shell command in the box; what it says."""
        done = await asyncio.to_thread(control.execute, self.state, command, EXEC_SECONDS)
        if done.status != 0:
            raise Unusable(f"in the router: {done.errors.decode(errors='replace').strip() or done.status}")
        return done.output

    def kept(self, path):
        """A file that the router keeps, as bytes; None when there is none."""
        with contextlib.suppress(OSError):
            file = self.state.folder / path.lstrip("/")
            if not file.is_symlink():
                return file.read_bytes()
        return None

    def fact(self, name):
        return (self.kept(f"{DEVICE}/{name}") or b"").decode(errors="replace").strip()

    # --- The world -----------------------------------------------------------------------------------

    def internet(self):
        return any(line.split()[1:2] == ["up"] for line in self.fact("ping").splitlines())

    def companion(self):
        if self.kept(COMPANION) is not None:
            return {"companion": "installed"}
        delay = self.fact("xwf_delay")
        if delay.isascii() and delay.isdigit():
            return {"companion": "starting", "companion_seconds": min(int(delay), 3600)}
        return {"companion": "absent"}

    async def world(self):
        full = await asyncio.to_thread(control.execute, self.state, f"[ -e {FULL} ]", EXEC_SECONDS)
        return {"repeater": self.fact("repeater") == "1", "internet": self.internet(), "full_disk": full.status == 0,
                "companion_seconds": 5, **self.companion()}

    async def change(self, wish):
        """Does what one member of the wish says."""
        name, value = wish.get("name"), wish.get("value")
        work = {"repeater": self.set_repeater, "internet": self.set_internet, "companion": self.set_companion,
                "full_disk": self.set_full_disk, "log_flood": self.flood, "reboot": self.reboot,
                "factory_reset": self.reset}.get(str(name))
        if work is None:
            raise Unusable(f"there is no switch {name!r}")
        await work(value)

    async def set_repeater(self, value):
        await self.run(f"echo {1 if value is True else 0} >{DEVICE}/repeater")

    async def set_internet(self, value):
        word, other = ("up", "down") if value is True else ("down", "up")
        await self.run(f"sed -i 's/ {other}$/ {word}/' {DEVICE}/ping")

    async def set_companion(self, value):
        state, seconds = (value.get("state"), value.get("seconds")) if isinstance(value, dict) else (None, None)
        clear = f"rm -f {COMPANION} {DEVICE}/xwf_delay"
        if state == "absent":
            await self.run(clear)
        elif state == "installed":
            await self.run(f"{clear}; printf %s {shlex.quote(COMPANION_TEXT)} >{COMPANION}")
        elif state == "starting" and type(seconds) is int and 0 <= seconds <= MOST_COMPANION_SECONDS:
            await self.run(f"{clear}; echo {seconds} >{DEVICE}/xwf_delay")
        else:
            raise Unusable(f"a companion is absent, installed or starting within 0 to {MOST_COMPANION_SECONDS} seconds")

    async def set_full_disk(self, value):
        await self.run(f"cat /dev/zero >{FULL} 2>/dev/null; [ -e {FULL} ]" if value is True else f"rm -f {FULL}")

    async def flood(self, _):
        await self.run(f"i=0; while [ $i -lt {FLOOD_LINES} ]; do i=$((i+1)); echo line $i of {FLOOD_LINES}; done |"
                       " logger -t flood")

    async def reboot(self, _):
        await self.run("(sleep 0.2; reboot) >/dev/null 2>&1 &")

    async def reset(self, _):
        await self.run("(sleep 0.2; firstboot; reboot) >/dev/null 2>&1 &")

    # --- What decides --------------------------------------------------------------------------------

    async def snapshot(self):
        """The router as `aerolink plan --stream` takes a device."""
        files = {path: text.decode(errors="replace") for path in KEPT_FILES if (text := self.kept(path)) is not None}
        return {"model": self.state.model(), "uci": self.configuration(), "service_code": self.fact("service_code"),
                "ddns_name": self.fact("ddns_name"), "repeater": self.fact("repeater") == "1",
                "internet": self.internet(), **self.companion(), **self.daemon_state(),
                "files": files | await self.running_files()}

    def configuration(self):
        """All packages as the text of `uci export`."""
        parts = []
        for file in sorted((self.state.folder / "etc/config").iterdir()):
            if file.is_file() and not file.is_symlink() and not file.name.startswith("."):
                parts.append(f"package {file.name}\n{file.read_text(encoding='utf-8', errors='replace')}\n")
        return "\n".join(parts)

    async def running_files(self):
        names = " ".join(RUNNING_FILES)
        archive = await self.run(f"cd / && for file in {names}; do [ ! -e $file ] || set -- \"$@\" $file; done; "
                                 "[ $# = 0 ] || tar -c -f - \"$@\"")
        if not archive:
            return {}
        with tarfile.open(fileobj=io.BytesIO(archive)) as files:
            return {f"/{entry.name}": files.extractfile(entry).read().decode(errors="replace")
                    for entry in files if entry.isfile()}

    def daemon_state(self):
        """What the daemon's process remembers of the requests since its start."""
        facts = {"reboot_pending": False, "full_read_done": False}
        start = self.daemon_start()
        for entry in self.timeline.raw:
            if entry["kind"] != "request" or entry["time"] < start:
                continue
            path, request = entry["of"].get("path"), entry["of"].get("request") or {}
            if path == BATCH_READ and "name" not in request:
                facts["full_read_done"] = True
            if path in WRITING and "reboot_flag" in request and request["reboot_flag"] is not None:
                facts["reboot_pending"] = request["reboot_flag"] == "1"
        return facts

    def daemon_start(self):
        starts = [event["time"] for event in self.timeline.events
                  if event["kind"] == "journal" and event["what"] == "boot"
                  or event["kind"] == "log" and "apid ended with status" in "".join(map(str, event["text"]))]
        return max(starts, default="")

    # --- As stored -----------------------------------------------------------------------------------

    def customer_file(self):
        text = self.kept("/etc/wbf/customer")
        return None if text is None else text.decode(errors="replace")

    def logo(self):
        return self.kept("/www/src/static/images/custmer.png")


WRITING = ("/cloud/aerolink/batch_set", "/whiteboard/set_config")


def parse_show(text):
    """Path to value of what `uci show` prints; a value may have line ends in its quotes."""
    options, entry = {}, ""
    for line in text.split("\n"):
        entry += line
        path, sign, value = entry.partition("=")
        try:
            words = shlex.split(value)
        except ValueError:  # quotes are open
            entry += "\n"
            continue
        if sign:
            options[path] = " ".join(words)
        entry = ""
    return options


def compact(value):
    return json.dumps(value, ensure_ascii=False, separators=(",", ":"))
