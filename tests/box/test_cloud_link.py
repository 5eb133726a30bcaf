# SPDX-License-Identifier: Apache-2.0
"""The cloud link of one model, over HTTP: switched, moved, bound, unbound, and its log.

The model comes from the environment. One router is taken from request to request.
"""
import json
import os
import shlex
import unittest
from typing import NamedTuple, Optional

from router import wait_for
from watched import WatchedRouter

SET = "/cloud/aerolink/set"
STATUS = "/cloud/aerolink/get"
BIND = "/router/bind_info"
UNBIND = "/cloud/aerolink/unbind"
LOG = "/cloud/aerolink/log"
LEVEL = "/cloud/aerolink/log_level"

CLIENT = "sbin/zu_mqtt$"
REMOTE_ACCESS = "sbin/rtty$"
TELEMETRY = "sbin/zu_bigdata$"

MISSING = (400, -5, {"msg": "missing parameters"})
ACCOUNT = {"username": "jane", "email": "jane@mail.example", "bindtime": "2026-05-01 12:00:00"}

HOSTS = {zone: os.environ[f"HOST_{zone.upper().replace(' ', '_')}"]
         for zone in ("Europe", "America", "Asia Pacific", "China", "Development")}
DEVELOPMENT = HOSTS["Development"]

# Customer files.
PLAIN = "fw_type=1\n"
MORE = "fw_type=1\ncustomer_name=Harbour\n"
BRANDED = "fw_type=2\ncustomer_name=Harbour\n"
UNKNOWN = "fw_type=3\ncustomer_name=Harbour\n"
NO_TYPE = "customer_name=Harbour\n"


class Change(NamedTuple):
    """One request to the link, and what it leaves. Before it, rtty runs and an account is bound."""
    zone: str
    enable: bool
    ssh: str
    web: str
    check: bool
    keeps_account: bool
    kills_rtty: bool
    customer_before: Optional[str]
    customer_after: Optional[str]

    def host(self):
        return HOSTS.get(self.zone, self.zone)

    def request(self):
        return {"cloud_enable": self.enable, "serverzone": self.zone, "rtty_ssh": self.ssh,
                "rtty_web": self.web, "check_status": self.check}


# Each begins where the one before ended; the first in the zone Europe.
CHANGES = [
    #                                                  keeps    kills  customer file
    #      zone            enable ssh    web    check  account  rtty   before   after
    Change("Europe",       False, "0",   "1",   False, True,    False, None,    None),
    Change("Europe",       True,  "0",   "0",   True,  True,    True,  None,    PLAIN),
    Change("America",      True,  "1",   "0",   False, False,   False, BRANDED, BRANDED),
    Change("China",        False, "1",   "1",   True,  False,   False, UNKNOWN, UNKNOWN),
    Change(DEVELOPMENT,    True,  "off", "0",   False, True,    False, UNKNOWN, PLAIN),
    Change(DEVELOPMENT,    True,  "0ff", "01",  True,  False,   True,  NO_TYPE, PLAIN),
    Change("Asia Pacific", True,  "1",   "1",   True,  False,   False, MORE,    MORE),
]


class Internet(NamedTuple):
    """What the router reaches, and whom it pings to find out."""
    answering: str         # addresses
    mwan3: Optional[str]   # options of "mwan3.wan"; None: no such package
    pings: list
    reached: bool


def pings(arguments, *addresses):
    return [f"ping {arguments} -s 56 -q {address}".split() for address in addresses]


FALLBACK = pings("-c 1 -W 2", "8.8.4.4", "8.8.8.8", "208.67.222.222", "208.67.220.220")
TRACKED = pings("-c 3 -W 1", "192.0.2.1", "192.0.2.2")
LIMITS = "option count 3\noption timeout 1\n"
TRACK_IP = "list track_ip 192.0.2.1\nlist track_ip 192.0.2.2\n"

INTERNETS = {
    "first fallback address up": Internet("8.8.4.4 8.8.8.8", None, FALLBACK[:1], True),
    "third fallback address up": Internet("208.67.222.222", None, FALLBACK[:3], True),
    "no fallback address up": Internet("192.0.2.1", None, FALLBACK, False),
    "second tracked address up": Internet("192.0.2.2", TRACK_IP + LIMITS, TRACKED, True),
    "no tracked address up": Internet("8.8.4.4 8.8.8.8", TRACK_IP + LIMITS, TRACKED, False),
    "nothing tracked": Internet("8.8.4.4 192.0.2.1", LIMITS, [], False),
    "tracked without limits": Internet("192.0.2.1 192.0.2.2", TRACK_IP,
                                       pings("-c -W", "192.0.2.1", "192.0.2.2"), False),
}


# Shell commands that prepare a request.
START_REMOTE_ACCESS = """
uci set rtty.general.web_en=1; uci commit rtty
pgrep rtty >/dev/null || { rm -f /tmp/run/rtty.pid; /etc/init.d/rtty start; }
"""
START_TELEMETRY = """
uci set zubigdata.bigdata.enable=1; uci commit zubigdata
/etc/init.d/zu_bigdata start
"""


def write(path, text):
    """So that the file has the text, or is not there."""
    return f"rm -f {path}\n" if text is None else f"printf %s {shlex.quote(text)} >{path}\n"


def without_account(configuration):
    return {path: value for path, value in configuration.items()
            if path.removeprefix("zuconfig.cloud.") not in ACCOUNT}


class CloudLinkTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.router = WatchedRouter(os.environ["ROUTER_MODEL"])
        self.addCleanup(self.router.stop)
        self.lines = []  # of the client's log
        self.wait_for_lines(" connecting to " + HOSTS["Europe"])

    def test_link(self):
        for change in CHANGES:
            with self.subTest(change):
                self.check_change(change)
        with self.subTest("what a refused request leaves behind"):
            self.check_incomplete_request()
            self.check_unknown_zone()
        with self.subTest("account"):
            self.check_account()
        with self.subTest("log and its level"):
            self.check_log()
        for name, internet in INTERNETS.items():
            with self.subTest(name):
                self.check_unbind(internet)
        with self.subTest("restarts of the router"):
            self.check_restart(enable=False)
            self.check_restart(enable=True)

    def bind(self, account):
        self.assertEqual(self.router.post(BIND, account), (200, 0, {}))

    def log(self):
        """The client's lines, and the zone under the name that the log has for it."""
        reply = self.router.get(LOG)
        self.assertEqual((reply.status, reply.result, list(reply.response)), (200, 0, ["serverzone", "log"]))
        return reply.response["log"], reply.response["serverzone"]

    def wait_for_lines(self, *lines):
        """The client logs these, next and nothing else."""
        self.lines += lines
        wait_for("the client's log", lambda: len(self.log()[0]) >= len(self.lines))
        self.assertEqual(self.log()[0], self.lines)

    # --- Set -----------------------------------------------------------------------------------------

    def check_change(self, change):
        self.bind(ACCOUNT)
        self.router.shell(START_REMOTE_ACCESS + write("/etc/wbf/customer", change.customer_before))
        remote_access = self.router.wait_for_processes(REMOTE_ACCESS, 1)
        before = self.router.uci()
        self.router.asked()

        self.assertEqual(self.router.post(SET, change.request()), (200, 0, {}))
        self.assertEqual(self.router.asked(), self.client_calls(change))
        self.assertEqual(self.router.uci(), self.configuration(change, before))
        self.assertEqual(self.router.shell("uci changes"), "", "all is committed")
        self.check_kept_files(change)
        self.check_client(change)
        if change.kills_rtty:
            self.router.wait_for_processes(REMOTE_ACCESS, 0)
        else:
            self.assertEqual(self.router.processes(REMOTE_ACCESS), remote_access)

    def client_calls(self, change):
        actions = ["stop", "start", "enable"] if change.enable else ["stop", "disable"]
        return [["/etc/init.d/zu_mqtt", action] for action in actions]

    def configuration(self, change, before):
        before = before if change.keeps_account else without_account(before)
        return before | {"zuconfig.cloud.enable": str(int(change.enable)),
                         "zuconfig.cloud.check_status": str(int(change.check)),
                         "zuconfig.cloud.serverzone": change.host(),
                         "rtty.general.ssh_en": change.ssh, "rtty.general.web_en": change.web}

    def check_kept_files(self, change):
        cloud = self.router.kept("/etc/config/zuconfig").decode().partition("config service 'cloud'\n")[2]
        options = cloud.partition("\n\n")[0].splitlines()
        self.assertIn(f"\toption serverzone '{change.host()}'", options)
        self.assertIn(f"\toption enable '{int(change.enable)}'", options)
        self.assertEqual(f"\toption username '{ACCOUNT['username']}'" in options, change.keeps_account)
        remote_access = self.router.kept("/etc/config/rtty").decode().splitlines()
        self.assertIn(f"\toption ssh_en '{change.ssh}'", remote_access)
        self.assertIn(f"\toption web_en '{change.web}'", remote_access)
        customer = None if change.customer_after is None else change.customer_after.encode()
        self.assertEqual(self.router.kept("/etc/wbf/customer"), customer)

    def check_client(self, change):
        self.router.wait_for_processes(CLIENT, int(change.enable))
        self.assertEqual(self.router.starts_at_boot("zu_mqtt"), change.enable)
        if change.enable:
            self.wait_for_lines(" connecting to " + change.host())

    def check_incomplete_request(self):
        request = CHANGES[-1].request()
        before = self.router.uci()
        for member in ("cloud_enable", "serverzone", "rtty_ssh", "rtty_web"):
            incomplete = request | {"cloud_enable": False, "rtty_ssh": "0", "rtty_web": "0"}
            del incomplete[member]
            self.assertEqual(self.router.post(SET, incomplete), MISSING, member)
        self.assertEqual(self.router.uci(), before)
        self.assertEqual(len(self.router.processes(REMOTE_ACCESS)), 1)
        self.assertEqual(self.router.asked(), [])

    def check_unknown_zone(self):
        before = self.router.uci()
        client = self.router.processes(CLIENT)
        files = [self.router.kept(f"/etc/config/{package}") for package in ("zuconfig", "rtty")]
        reply = self.router.post(SET, {"cloud_enable": False, "serverzone": "Global", "rtty_ssh": "0",
                                       "rtty_web": "0", "check_status": False})
        self.assertEqual(reply, (422, -4, {}))
        self.router.wait_for_processes(REMOTE_ACCESS, 0)
        changes = {"zuconfig.cloud.enable": "0", "zuconfig.cloud.check_status": "0",
                   "rtty.general.ssh_en": "0", "rtty.general.web_en": "0"}
        self.assertEqual(sorted(self.router.shell("uci changes").splitlines()),
                         sorted(f"{path}='{value}'" for path, value in changes.items()))
        self.assertEqual([self.router.kept(f"/etc/config/{package}") for package in ("zuconfig", "rtty")],
                         files)
        self.assertEqual(self.router.uci(), before | changes)
        self.assertEqual(self.router.asked(), [])
        self.assertEqual(self.router.processes(CLIENT), client)
        self.assertTrue(self.router.starts_at_boot("zu_mqtt"))
        # The next commit of a package takes the leftovers along.
        self.bind({})
        self.assertIn(b"\toption enable '0'\n\toption check_status '0'\n",
                      self.router.kept("/etc/config/zuconfig"))
        self.assertEqual(self.router.shell("uci changes"),
                         "rtty.general.ssh_en='0'\nrtty.general.web_en='0'\n")
        self.router.shell("uci revert rtty")

    # --- Account -------------------------------------------------------------------------------------

    def check_account(self):
        before = self.router.uci()
        self.bind(ACCOUNT)
        self.bind({"email": "other@mail.example"})
        account = ACCOUNT | {"email": "other@mail.example"}
        self.assertEqual(self.shown_account(), account)
        long_account = {"username": "u" * 31 + "-", "email": "e" * 63 + "-", "bindtime": "b" * 127 + "-"}
        self.bind(long_account)
        self.assertEqual(self.shown_account(), {key: text[:-1] for key, text in long_account.items()})
        self.assertEqual(self.router.uci(), before | {f"zuconfig.cloud.{key}": text
                                                      for key, text in long_account.items()})
        self.assertEqual(self.router.shell("uci changes"), "")
        self.assertEqual(self.router.asked(), [])

    def shown_account(self):
        response = self.router.get(STATUS).response
        return {key: response[key] for key in ACCOUNT}

    # --- Log -----------------------------------------------------------------------------------------

    def check_log(self):
        """In the zone Asia Pacific."""
        self.assertEqual(self.log(), (self.lines, "Global"))
        self.assertEqual(self.router.get(STATUS).response["serverzone"], "Asia Pacific")
        self.router.shell("logger -t other x; logger -t zu_mqtt_service one: two: three: four: five")
        self.wait_for_lines(" one: two: three: four")
        self.check_level({"cloud_log_level": True}, 7, " log level 7", " debug messages are on")
        self.check_level({"cloud_log_level": False}, 6, " log level 6")
        self.check_level({"cloud_log_level": True}, 7, " log level 7", " debug messages are on")
        self.check_level({}, 6, " log level 6")

    def check_level(self, request, level, *lines):
        self.assertEqual(self.router.post(LEVEL, request), (200, 0, {}))
        self.assertEqual(self.router.asked(), [["ubus", "call", "mqtt", "debug", f'{{"level":{level}}}']])
        self.wait_for_lines(*lines)

    # --- Unbind --------------------------------------------------------------------------------------

    def check_unbind(self, internet):
        mwan3 = None if internet.mwan3 is None else "config interface wan\n" + internet.mwan3
        table = "".join(f"{address} up\n" for address in internet.answering.split())
        self.router.shell(write("/etc/device/ping", table) + write("/etc/config/mwan3", mwan3) +
                          START_TELEMETRY)
        telemetry = self.router.wait_for_processes(TELEMETRY, 1)
        before = self.router.uci()
        self.router.asked()

        self.assertEqual(self.router.post(UNBIND, {}), MISSING)
        reply = self.router.post(UNBIND, {"unbind": False})
        if internet.reached:
            self.assertEqual(reply, (200, 0, {"api": "/router/unbind", "code": 0}))
            self.check_unbound(before, internet.pings)
        else:
            self.assertEqual(reply, (503, -24, {}))
            self.assertEqual(self.router.asked(), internet.pings)
            self.assertEqual(self.router.uci(), before)
            self.assertEqual(self.router.processes(TELEMETRY), telemetry)

    def check_unbound(self, before, expected_pings):
        asked = self.router.asked(len(expected_pings) + 2)
        self.assertEqual(asked[:len(expected_pings)], expected_pings)
        # The message goes out on its own time.
        stop, publish = sorted(asked[len(expected_pings):])
        self.assertEqual(stop, ["/etc/init.d/zu_bigdata", "stop"])
        self.assertEqual(publish, ["ubus", "call", "mqtt", "pub", r'{"api":"\/router\/unbind","code":0}'])
        self.assertEqual(json.loads(publish[-1]), {"api": "/router/unbind", "code": 0})
        self.wait_for_lines(" publish")
        self.assertEqual(self.router.uci(), before | {"zubigdata.bigdata.enable": "0"})
        self.assertIn(b"\toption enable '0'\n", self.router.kept("/etc/config/zubigdata"))
        self.router.wait_for_processes(TELEMETRY, 0)

    # --- Restart -------------------------------------------------------------------------------------

    def check_restart(self, enable):
        """The client comes back with the router exactly when the link is on."""
        request = {"cloud_enable": enable, "serverzone": "Asia Pacific", "rtty_ssh": "0", "rtty_web": "1"}
        self.assertEqual(self.router.post(SET, request).result, 0)
        self.router.restart()
        self.assertEqual(["/etc/init.d/zu_mqtt", "boot"] in self.router.this_boot(), enable)
        self.assertEqual(self.router.exists("/tmp/run/zu_mqtt.pid"), enable)
        self.router.wait_for_processes(CLIENT, int(enable))


if __name__ == "__main__":
    unittest.main()
