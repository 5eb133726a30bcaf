# SPDX-License-Identifier: Apache-2.0
"""The firmware around the plug-in: shell, journal, log, services and programs."""
import ctypes
import re
import unittest
from pathlib import Path

from router import Router, wait_for


class StandInTest(unittest.TestCase):
    """Tests share one router; each looks only at what it did itself."""

    @classmethod
    def setUpClass(cls):
        cls.router = Router("heron")
        cls.addClassCleanup(cls.router.stop)
        cls.router.wait_until_booted()

    def setUp(self):
        self.journal_length = len(self.router.journal())

    def new_journal(self):
        return self.router.journal()[self.journal_length:]

    def status(self, command):
        return self.router.run(command).returncode

    def processes(self, pattern):
        return self.router.run(f"pgrep -f '{pattern}'").stdout.split()

    def wait_for_log(self, text):
        wait_for(f"the log line {text}", lambda: any(text in line for line in self.router.log()))


class Shell(StandInTest):
    def test_is_the_routers_own(self):
        self.assertEqual(self.router.shell("false &> /dev/null; echo $?"), "1\n")
        self.assertEqual(self.router.shell("readlink -f /bin/sh"), "/bin/busybox\n")

    def test_cut_adds_nothing_for_missing_fields(self):
        self.assertEqual(self.router.shell("""echo a:b:c:d:e | cut -d ":" -n -f4,5,6,7"""), "d:e\n")

    def test_control_passes_output_errors_and_status(self):
        done = self.router.run("echo out; echo err >&2; exit 7")
        self.assertEqual((done.stdout, done.stderr, done.returncode), ("out\n", "err\n", 7))


class Journal(StandInTest):
    def test_line_reads_back(self):
        self.router.shell("""journal program plain 'two words' "it's" 'a
b' '' '"$HOME" \\ `'""")
        self.assertEqual(self.new_journal(),
                         [["program", "plain", "two words", "it's", "a\nb", "", '"$HOME" \\ `']])

    def test_line_begins_with_the_time(self):
        self.router.shell("journal program x")
        line = self.router.read("/var/log/journal").splitlines()[-1]
        self.assertRegex(line, r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z program x$")

    def test_concurrent_lines_do_not_mix(self):
        self.router.shell("""
            text=$(printf '%06000d' 0)
            for writer in 1 2 3 4; do
                (for n in 1 2 3 4 5 6 7 8 9 10; do journal mixed $writer $n $text; done) &
            done
            wait""")
        written = [entry for entry in self.new_journal() if entry[0] == "mixed"]
        self.assertEqual(sorted((int(writer), int(n)) for _, writer, n, _ in written),
                         [(writer, n) for writer in range(1, 5) for n in range(1, 11)])
        self.assertEqual({text for *_, text in written}, {"0" * 6000})

    def test_programs_that_are_only_journaled(self):
        calls = ["swconfig dev switch0 set reset", "ssdk_sh debug phy set 2 0 0x840", "reload_config",
                 "rmmod g_ether.ko", "insmod g_ether.ko",
                 "/usr/sbin/heron_misc_func.sh cap_ip_change_trigger"]
        self.router.shell(" && ".join(calls))
        self.assertEqual(self.new_journal(), [call.removeprefix("/usr/sbin/").split() for call in calls])


class Services(StandInTest):
    def test_actions_are_journaled(self):
        scripts = [f"/etc/init.d/{service}" for service in ("network", "zu_tertf", "zu_bigdata", "zu_mqtt")]
        for script in scripts:
            self.router.shell(f"{script} restart")
        self.assertEqual(self.new_journal(), [[script, "restart"] for script in scripts])

    def test_unknown_action_fails(self):
        self.assertEqual(self.status("/etc/init.d/zu_mqtt explode"), 1)

    def test_enable_and_disable(self):
        self.router.shell("/etc/init.d/zu_mqtt disable")
        self.assertNotEqual(self.status("/etc/init.d/zu_mqtt enabled"), 0)
        self.assertFalse(self.router.exists("/etc/rc.d/S95zu_mqtt"))
        self.router.shell("/etc/init.d/zu_mqtt enable && /etc/init.d/zu_mqtt enabled")
        self.assertEqual(self.router.shell("readlink /etc/rc.d/S95zu_mqtt"), "../init.d/zu_mqtt\n")

    def test_stop_and_start_act_on_the_process(self):
        for service in ("zu_mqtt", "zu_bigdata", "rtty"):
            with self.subTest(service):
                first = self.processes(f"sbin/{service}$")
                self.assertEqual(len(first), 1)
                self.router.shell(f"/etc/init.d/{service} start")
                self.assertEqual(self.processes(f"sbin/{service}$"), first, "a second start changes nothing")
                self.router.shell(f"/etc/init.d/{service} stop")
                self.assertEqual(self.processes(f"sbin/{service}$"), [])
                self.router.shell(f"/etc/init.d/{service} start")
                self.assertEqual(len(self.processes(f"sbin/{service}$")), 1)

    def test_rtty_runs_when_a_switch_is_on(self):
        self.router.shell("/etc/init.d/rtty stop; uci set rtty.general.web_en=0; /etc/init.d/rtty start")
        self.assertEqual(self.processes("sbin/rtty$"), [])
        self.router.shell("uci revert rtty; /etc/init.d/rtty start")
        self.assertEqual(len(self.processes("sbin/rtty$")), 1)

    def test_rtty_is_killed_by_name(self):
        self.assertEqual(self.status("killall -9 rtty"), 0)
        self.assertEqual(self.processes("sbin/rtty$"), [])
        self.assertEqual(self.status("killall -9 rtty"), 1)
        self.router.shell("rm -f /tmp/run/rtty.pid; /etc/init.d/rtty start")

    def test_traffic_figures_are_taken_up(self):
        self.router.shell("echo figures >/etc/tertf/tertfinfo_bak; /etc/init.d/zu_tertf restart")
        self.assertEqual(self.router.read("/tmp/tertf/tertfinfo"), "figures\n")

    def test_updater_is_killed_and_started_as_the_plug_in_does(self):
        wait_for("the updater", lambda: self.processes("sleep 10800"))
        self.router.run('kill -9 $(pgrep -f "zuautoupdater")')
        self.router.run('kill -9 $(pgrep -f "sleep 10800")')
        self.assertEqual(self.processes("zuautoupdater|sleep 10800"), [])
        self.router.shell("/usr/bin/zuautoupdater &")
        wait_for("the updater", lambda: self.processes("sleep 10800"))
        self.assertEqual(len(self.processes("bin/zuautoupdater$")), 1)
        self.assertEqual(self.new_journal(), [["zuautoupdater"]])


class CloudClient(StandInTest):
    def setUp(self):
        self.router.shell("/etc/init.d/zu_mqtt restart")
        wait_for("the client", lambda: self.status("ubus call mqtt debug '{\"level\":6}'") == 0)
        super().setUp()

    def test_calls_are_answered_and_journaled(self):
        calls = [["ubus", "call", "mqtt", "pub", '{"api":"\\/router\\/unbind","code":0}'],
                 ["ubus", "call", "mqtt", "debug", '{"level":7}'],
                 ["ubus", "call", "mqtt", "notify"]]
        for call in calls:
            words = " ".join(f"'{word}'" for word in call)
            self.assertEqual(self.status(words), 0, words)
        self.assertEqual(self.new_journal(), calls)
        self.wait_for_log("zu_mqtt_service: settings changed")

    def test_unfit_calls_are_refused(self):
        for status, call in ((2, """pub '{"api":1'"""), (2, "pub nonsense"), (2, "pub '[1]'"), (2, "pub ''"),
                             (2, """pub '{"a":1} trailing'"""), (2, "pub"), (2, "debug '{}'"),
                             (2, """debug '{"level":"7"}'"""), (2, """debug '{"level":8}'"""),
                             (2, "notify '{}'"), (3, "reboot"), (2, "")):
            with self.subTest(call):
                done = self.router.run("ubus call mqtt " + call)
                self.assertEqual(done.returncode, status)
                self.assertNotEqual(done.stderr, "")
        self.assertEqual(self.status("ubus call other notify"), 4)
        self.assertEqual(len(self.new_journal()), 13, "a refused call is journaled, too")

    def test_object_is_there_while_the_client_runs(self):
        self.router.shell("/etc/init.d/zu_mqtt stop")
        done = self.router.run("ubus call mqtt notify")
        self.assertEqual((done.returncode, done.stderr), (4, "Command failed: Not found\n"))

    def test_log_level_lasts_as_long_as_the_client(self):
        self.router.shell("""ubus call mqtt pub '{"mark":1}'""")
        self.router.shell("""ubus call mqtt debug '{"level":7}'; ubus call mqtt pub '{"mark":2}'""")
        self.wait_for_log('daemon.debug zu_mqtt_service: payload {"mark":2}')
        self.router.shell("/etc/init.d/zu_mqtt restart")
        wait_for("the client", lambda: self.status("ubus call mqtt notify") == 0)
        self.router.shell("""ubus call mqtt pub '{"mark":3}'; ubus call mqtt debug '{"level":7}'""")
        self.router.shell("""ubus call mqtt pub '{"mark":4}'""")
        self.wait_for_log('payload {"mark":4}')
        log = "\n".join(self.router.log())
        self.assertNotIn('{"mark":1}', log)
        self.assertNotIn('{"mark":3}', log)


class Programs(StandInTest):
    def test_ping_answers_from_the_table(self):
        self.router.shell("cp /etc/device/ping /tmp/ping; echo '192.0.2.1 down' >>/etc/device/ping")
        for address, status in (("8.8.8.8", "0"), ("192.0.2.1", "1"), ("192.0.2.2", "1")):
            self.assertEqual(self.router.shell(f"ping -c 1 -W 2 -s 56 -q {address} &> /dev/null ; echo $?"),
                             status + "\n")
        self.assertEqual(self.status("ping -c  -W  -s 56 -q 8.8.8.8"), 2, "options without their numbers")
        self.assertEqual(self.status("ping -c 1 -W 2 -s 56 -q"), 2, "no address")
        self.router.shell("cp /tmp/ping /etc/device/ping")
        self.assertEqual(self.new_journal()[0], "ping -c 1 -W 2 -s 56 -q 8.8.8.8".split())

    def test_wget_fetches_from_the_routers_own_internet(self):
        self.router.shell("mkdir -p /etc/device/internet/cdn.example/a")
        self.router.shell("echo logo >/etc/device/internet/cdn.example/a/b")
        target = "/www/src/static/images/custmer.png"
        self.router.shell(f"wget -O {target} https://cdn.example/a/b?size=1")
        self.assertEqual(self.router.read(target), "logo\n")
        for url in ("http://cdn.example/none", "http://cdn.example/../cdn.example/a/b", "http://127.0.0.1"):
            self.assertEqual(self.status(f"wget -O /tmp/fetched {url}"), 1, url)
        self.assertFalse(self.router.exists("/tmp/fetched"))
        self.assertEqual(self.new_journal()[0], ["wget", "-O", target, "https://cdn.example/a/b?size=1"])

    def test_driver_parameters_read_back(self):
        self.router.shell("iwpriv ra0 set 'SSID=Harbour Cafe = x' && iwpriv ra1 set AuthMode=OPEN")
        self.assertEqual(self.router.shell("iwpriv ra0 get SSID"), "Harbour Cafe = x\n")
        self.assertEqual(self.router.shell("iwpriv ra1 get AuthMode"), "OPEN\n")
        self.assertEqual(self.new_journal()[0], ["iwpriv", "ra0", "set", "SSID=Harbour Cafe = x"])
        self.assertEqual(self.status("iwpriv ra0 set ../x=1"), 1)
        self.assertEqual(self.status("iwpriv ra0"), 1)

    def test_companion_package_appears_when_it_is_to(self):
        self.assertEqual(self.status("/usr/bin/xwf-fix"), 1)
        self.assertFalse(self.router.exists("/etc/config/xwf"))
        self.router.shell("echo 2 >/etc/device/xwf_delay; /usr/bin/xwf-fix & [ ! -e /etc/config/xwf ]")
        wait_for("the package", lambda: self.router.exists("/etc/config/xwf"))
        self.assertEqual(self.router.shell("uci get xwf.general"), "xwf\n")
        self.router.shell("rm /etc/config/xwf /etc/device/xwf_delay")
        self.assertEqual(self.new_journal(), [["xwf-fix"], ["xwf-fix"]])

    def test_passwd_changes_the_routers_account_only(self):
        ours = Path("/etc/shadow").stat()
        self.router.shell("(echo harbour7; sleep 1; echo harbour7)| passwd root >/dev/null 2>&1")
        theirs = Path("/etc/shadow").stat()
        self.assertEqual((ours.st_mtime_ns, ours.st_ino), (theirs.st_mtime_ns, theirs.st_ino))
        stored = re.match(r"root:(\$1\$[^:]+):", self.router.read("/etc/shadow")).group(1)
        crypt = ctypes.CDLL("libcrypt.so.1").crypt
        crypt.restype = ctypes.c_char_p
        self.assertEqual(crypt(b"harbour7", stored.encode()).decode(), stored)

    def test_device_facts_change_while_the_router_runs(self):
        self.assertEqual(self.router.get("/cloud/aerolink/get").response["name"], "r4017")
        self.router.shell("echo harbour >/etc/device/ddns_name; echo 1 >/etc/device/repeater")
        self.assertEqual(self.router.get("/cloud/aerolink/get").response["name"], "harbour")
        channel = self.router.shell("uci get wireless.wifi0.channel")
        self.router.post("/cloud/aerolink/batch_set", {"2g_channel": "13", "hostname": "pushed"})
        self.assertEqual(self.router.shell("uci get wireless.wifi0.channel"), channel)
        self.assertEqual(self.router.shell("uci get system.@system[0].hostname"), "pushed\n")


if __name__ == "__main__":
    unittest.main()
