# SPDX-License-Identifier: Apache-2.0
"""Power cuts at random moments of a push, and what a router holds after each.

What it may hold is not written here: a rehearsal of the push (`aerolink plan`) gives its writes and commits in order,
and so the configuration after each commit. How far the push had come when the power went is in the daemon's record.
"""
import http.client
import json
import os
import random
import statistics
import subprocess
import time
import urllib.parse
from datetime import datetime
from typing import NamedTuple

from powered import PoweredRouter
from provisioning import FIRST_REQUEST
from test_batch import PUSHED
from uci_show import parse_show, resolve

AEROLINK = os.environ["AEROLINK"]
UCI = os.environ["UCI"]

# A password takes a second, in which nothing is written: no cut would fall anywhere else. A maximum of the transmit
# power changes what the same push makes of a level the next time.
LEFT_OUT = {"password", "txpower_max"}
COMPANION = {"xwf_enable": "1", "xwf_ssid": "Harbour guests", "xwf_mode": "portal",
             "xwf_url": "https://harbour.example/"}
PUSHES = {
    "/cloud/aerolink/batch_set": {key: value for key, value in PUSHED.items() if key not in LEFT_OUT},
    "/whiteboard/set_config": {key: value for key, value in (FIRST_REQUEST | COMPANION).items() if key not in LEFT_OUT},
}
MODELS = ("heron", "plover", "lark")  # of three families: each has its own order of writes and commits
CUSTOMER = "etc/wbf/customer"
PRISTINE = "/var/pristine"


class Found(NamedTuple):
    """Where a cut fell and what it left."""
    place: str        # "before" the push, "in" it or "after" it
    committing: bool  # whether a commit had begun and nothing after it
    leftovers: int    # temporary files of the store
    customer: bool    # whether the customer file was cut short


def is_commit(kind, of):
    return kind == "commit" or (kind, of.get("command")) == ("system", "uci commit")


def package_of(path):
    return path.partition(".")[0]


def by_package(configuration):
    found = {}
    for path, value in configuration.items():
        found.setdefault(package_of(path), {})[path] = value
    return found


def states_of(effects, configuration):
    """The configuration that is committed at first and after each commit, by package."""
    recorded, committed = by_package(configuration), by_package(configuration)
    states = [dict(committed)]
    for effect in effects:
        kind = effect["kind"]
        if kind in ("set", "delete") and not effect.get("failed"):
            write(recorded, effect)
        elif is_commit(kind, effect):
            names = [effect["package"]] if kind == "commit" else recorded
            committed |= {name: dict(recorded[name]) for name in names if name in recorded}
            states.append(dict(committed))
    return states


def write(recorded, effect):
    package = recorded[package_of(effect["path"])]
    path = resolve(effect["path"], package)
    if effect["kind"] == "delete" or effect["value"] == "":
        package.pop(path, None)
    else:
        package[path] = effect["value"]


class CutRouter:
    """A router that loses its power in one push, again and again."""

    def __init__(self, model, route, seed):
        self.router = PoweredRouter(model)
        self.route, self.request = route, PUSHES[route]
        self.random = random.Random(f"{seed} {model} {route}")
        self.boot_times, self.lengths = [], []
        try:
            self.prepare()
        except BaseException:
            self.router.stop()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.router.stop()

    # --- Before the first cut

    def prepare(self):
        self.router.power_on()
        self.services = [call for call in self.router.journal() if call[0].startswith("/etc/init.d/")]
        if self.route == "/whiteboard/set_config":
            self.router.shell("printf \"config xwf 'general'\\n\\toption enable '1'\\n\" >/etc/config/xwf")
        self.router.shell(f"cp -a /etc/config {PRISTINE}")
        self.states = states_of(self.plan()["effects"], self.committed())
        self.reply = self.push()
        self.customer = self.customer_file()
        self.check_end(self.reply)
        self.check_end(self.push())  # a router that has it all already stays as it is

    def measure(self):
        """How long the push takes now: that depends on what else the machine does."""
        lengths = []
        for _ in range(3):
            self.make_fresh()
            self.trace().write_text("", encoding="ascii")
            self.check_end(self.push())
            lengths.append(self.recorded_length())
        self.lengths.append(statistics.median(lengths))

    def plan(self):
        done = subprocess.run([AEROLINK, "plan", "--json", "--device", self.router.state, "--route", self.route, "-"],
                              input=json.dumps(self.request), capture_output=True, text=True, check=True)
        return json.loads(done.stdout)

    def make_fresh(self):
        """What the push changes is again as it was."""
        self.router.shell(f"rm -rf /etc/config /tmp/.uci /{CUSTOMER} && cp -a {PRISTINE} /etc/config")

    # --- What a router holds

    def committed(self):
        """The packages' files, which must be whole, by path."""
        folders = ["-c", self.router.state / "etc/config", "-t", self.router.own_folder / "none"]
        done = subprocess.run([UCI, *folders, "show"], capture_output=True, text=True, check=False)
        if done.returncode != 0 or done.stderr:
            raise AssertionError(f"a file is not whole: {done.stderr}")
        return parse_show(done.stdout)

    def customer_file(self):
        file = self.router.state / CUSTOMER
        return file.read_text(encoding="utf-8") if file.exists() else None

    def leftovers(self):
        return [entry.name for entry in (self.router.state / "etc/config").iterdir() if entry.name.startswith(".")]

    def check_end(self, reply):
        """After a push that nothing disturbed."""
        assert reply == self.reply, (reply, self.reply)
        end = by_package(self.committed())
        assert end == self.states[-1], differences(end, self.states[-1])
        assert self.router.shell("uci changes") == ""
        assert not self.leftovers(), self.leftovers()
        assert self.customer_file() == self.customer

    # --- Pushes

    def push(self):
        reply = self.router.post(self.route, self.request)
        assert reply.status == 200, reply
        return reply

    def begin_push(self):
        """Sends the push and does not wait for the reply."""
        where = urllib.parse.urlsplit(self.router.url)
        connection = http.client.HTTPConnection(where.hostname, where.port)
        connection.request("POST", self.route, json.dumps(self.request), {"Content-Type": "application/json"})
        return connection

    def trace(self):
        """The daemon's record."""
        return self.router.state / "var/log/trace"

    def recorded(self):
        """Its lines since it was emptied."""
        return list(map(json.loads, self.trace().read_text(encoding="utf-8").splitlines()))

    def recorded_length(self):
        """Seconds from the one request's arrival to its reply."""
        times = {line["kind"]: datetime.fromisoformat(line["time"]) for line in self.recorded()}
        return (times["reply"] - times["request"]).total_seconds()

    # --- Cuts

    def cut(self):
        """Cuts the power at a moment of the push, checks what is left, and has the router finish the push."""
        if len(self.boot_times) % 20 == 0:
            self.measure()
        self.make_fresh()
        moment = self.random.uniform(0, self.lengths[-1])
        self.trace().write_text("", encoding="ascii")
        connection = self.begin_push()
        time.sleep(moment)
        self.router.cut_power()
        connection.close()
        found = self.check_cut()
        self.boot_again()
        self.check_end(self.push())
        return found

    def check_cut(self):
        calls = [(line["kind"], line["of"]) for line in self.recorded()]
        kinds = [kind for kind, _ in calls]
        place = "before" if "request" not in kinds else "after" if "reply" in kinds else "in"
        commits = sum(is_commit(kind, of) for kind, of in calls)
        committing = bool(calls) and is_commit(*calls[-1])
        new = self.states[commits]
        old = self.states[commits - 1] if committing else new
        self.check_packages(by_package(self.committed()), old, new)
        return Found(place, committing, len(self.leftovers()), self.customer_file() not in (None, self.customer))

    @staticmethod
    def check_packages(found, old, new):
        """A commit goes through the packages by name: those at the front may be done, those behind are as they were."""
        assert sorted(found) == sorted(old), (sorted(found), sorted(old))
        done = [name for name in sorted(found) if old[name] != new[name] and found[name] == new[name]]
        changed = [name for name in sorted(found) if old[name] != new[name]]
        assert done == changed[:len(done)], (done, changed)
        expected = {name: new[name] if name in done else old[name] for name in found}
        assert found == expected, differences(found, expected)

    def boot_again(self):
        start = time.monotonic()
        self.router.power_on()
        self.boot_times.append(time.monotonic() - start)
        journal = self.router.journal()
        this_boot = journal[len(journal) - journal[::-1].index(["boot"]) - 1:]
        missing = [call for call in self.services if call not in this_boot]
        assert not missing, f"boot left out {missing}"


def differences(found, wanted):
    return {name: (found.get(name), wanted.get(name)) for name in found.keys() | wanted.keys()
            if found.get(name) != wanted.get(name)}


def cut_inside(router, wanted):
    """Cuts until so many have fallen into the push, and yields every Found. Any moment of the push's usual length is
    drawn: most fall into it."""
    inside = 0
    for _ in range(3 * wanted):
        found = router.cut()
        inside += found.place == "in"
        yield found
        if inside == wanted:
            return
    raise AssertionError(f"only {inside} of {3 * wanted} cuts fell into the push")
