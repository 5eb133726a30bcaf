# SPDX-License-Identifier: Apache-2.0
"""What people read: plans as text, on a terminal and elsewhere, and the lines of `check`."""
import json
import os
import pty
import unittest

from support import AEROLINK, OPTIONS, factory, models, run

ASKED = '{"2g_htmode":"HT40","lan_ip":"x","password":"abcd","reboot_flag":"1"}'


def on_terminal(*arguments, columns=80, **environment):
    """What the program writes to a terminal."""
    child, terminal = pty.fork()
    if child == 0:
        os.environ.update({"TERM": "xterm"} | environment)
        os.execv(AEROLINK, [AEROLINK, arguments[0], *OPTIONS, *arguments[1:]])
    import fcntl
    import struct
    import termios
    fcntl.ioctl(terminal, termios.TIOCSWINSZ, struct.pack("HHHH", 25, columns, 0, 0))
    text = b""
    while True:
        try:
            part = os.read(terminal, 65536)
        except OSError:
            break
        if not part:
            break
        text += part
    os.waitpid(child, 0)
    os.close(terminal)
    return text.decode().replace("\r\n", "\n")


class Blocks(unittest.TestCase):
    maxDiff = None

    def test_one_model(self):
        self.assertEqual(run("plan", "--model", "osprey", ASKED).stdout, """\
osprey
  refused   lan_ip: a value like 192.168.70.1
  refused   password: at least 5 bytes
  change    wireless.radio1.htmode: 'HT20' -> 'HT40'
  change    wireless.radio1.noscan: '0' -> '1'
  run       echo "1" >/tmp/reboot_flag
  run       sleep 1; reboot
  then      the router reboots
  answer    0 {"lan_ip":"set false"}

4 keys: 1 changed, 1 applied, 2 refused
""")

    def test_all_models_on_a_screen(self):
        done = run("plan", ASKED)
        self.assertEqual(done.stdout, run("plan", "--all-models", ASKED).stdout)
        self.assertEqual(done.stdout, """\
heron, egret, crane, stork, finch
  refused   password: at least 5 bytes
  change    wireless.{wifi0,radio0}.htmode: 'HT20' -> 'HT40'
  change    network.lan.ipaddr: '192.168.62.1' -> 'x'
  change    dhcp.localhost.ip: '192.168.62.1' -> 'x'
  change    wireless.radio0.noscan: '0' -> '1'  (finch)
  run       echo "1" >/tmp/reboot_flag
  run       sleep 1; reboot
  then      the router reboots
  answer    0 {}

falcon
  refused   password: at least 5 bytes
  change    wireless.wifi0.htmode: 'HT80' -> 'HT40'
  change    network.lan.ipaddr: '192.168.62.1' -> 'x'
  change    dhcp.localhost.ip: '192.168.62.1' -> 'x'
  run       echo "1" >/tmp/reboot_flag
  run       sleep 1; reboot
  then      the router reboots
  answer    0 {}
  note      the keys of this model change bands with the first full read after its start; this plan is for a device on which that read was not yet done

plover, plover-v2, linnet, pipit, wren, osprey, generic-dual, generic-single, lark, swift, robin,
dove, teal, gull, kite, rook, ibis
  refused   lan_ip: a value like 192.168.70.1
  refused   password: at least 5 bytes
  change    wireless.{mt7628,mt7615e2,radio1,radio0}.htmode: 'HT20' -> 'HT40'
  change    wireless.{mt7628,radio1,radio0}.noscan: '0' -> '1'  (not wren)
  run       echo "1" >/tmp/reboot_flag
  run       sleep 1; reboot
  then      the router reboots
  answer    0 {"lan_ip":"set false"}

23 models: lan_ip has no effect on 17 of them, password on 23
""")

    def test_notes_and_what_is_left_uncommitted(self):
        text = run("plan", "--model", "heron", "--route", "set_config", '{"2g_key": "short", "nosuch": 1}').stdout
        self.assertIn('  note      2g_key: answered "set false", but written all the same\n', text)
        self.assertIn("  unknown   nosuch: there is no such key\n", text)
        text = run("plan", "--model", "heron", '{"reboot_flag": "$(x)"}').stdout
        self.assertIn("  note      only the router's shell could tell what this comes to: echo ", text)
        text = run("plan", "--model", "heron", "--route", "/cloud/aerolink/set",
                   '{"cloud_enable":false,"rtty_ssh":"1","rtty_web":"1","serverzone":"MOON"}').stdout
        self.assertIn("  unsaved   zuconfig.cloud.enable: '1' -> '0'\n", text)
        self.assertIn("  answer    -4 {}\n", text)

    def test_what_differs_between_models_stands_together(self):
        push = '{"2g_txpower":"low","2g_disable":"1","lan_ip":"192.168.70.1","password":"quay-4017"}'
        text = run("plan", push).stdout
        for block in text.split("\n\n"):
            paths = [line.split(":")[0].split(".")[-1] for line in block.splitlines() if line.startswith("  change")]
            self.assertEqual(paths, [path for at, path in enumerate(paths) if at == 0 or paths[at - 1] == path
                                     or path not in paths[:at]], block)
        self.assertIn("  change    zuconfig.general.password: (differs) -> (differs)\n", text)
        done = run("plan", "--route", "set_config", push)
        for line in done.stdout.splitlines():
            if "ssdk_sh debug phy set 2 0 0x840" in line:
                self.assertTrue(line.endswith(")"), line)
        self.assertLess(len(done.stdout.splitlines()), 50)

    def test_commands_keep_the_order_of_each_model(self):
        made = [json.loads(line) for line in run("plan", "--route", "set_config", "--json", "{}").stdout.splitlines()]
        text = run("plan", "--route", "set_config", "{}").stdout
        shown = [line[12:].split("  (")[0] for line in text.splitlines() if line.startswith("  run")]
        for each in made:
            rest = iter(shown)
            for effect in each["effects"]:
                if effect["kind"] in ("system", "fork", "exec") and effect["command"] != "uci commit":
                    self.assertIn(effect["command"], rest, each["model"])

    def test_changes_are_in_the_order_of_writing(self):
        text = run("plan", "--model", "heron", '{"lan_ip":"10.0.0.1","2g_ssid":"a","hostname":"x"}').stdout
        made = json.loads(run("plan", "--model", "heron", "--json", '{"lan_ip":"10.0.0.1","2g_ssid":"a","hostname":"x"}')
                          .stdout)
        written = [each["path"] for each in made["effects"] if each["kind"] == "set"]
        self.assertEqual([each["path"] for each in made["changes"]], list(dict.fromkeys(written)))
        self.assertEqual([line.split()[1][:-1] for line in text.splitlines() if line.startswith("  change")],
                         list(dict.fromkeys(written)))

    def test_secrets_are_masked_in_commands(self):
        request = '{"password":"quay-4017"}'
        text = run("plan", "--model", "heron", request).stdout
        self.assertIn("  run       (echo ***; sleep 1; echo ***)| passwd root ", text)
        self.assertNotIn("quay-4017", text)
        self.assertIn("echo quay-4017; sleep 1", run("plan", "--model", "heron", "--json", request).stdout)
        self.assertIn("echo ***; sleep 1", run("plan", "--route", "set_config", '{"password":12345}').stdout)
        self.assertIn("rm /tmp", run("plan", "--route", "set_config", '{"2g_key":"rm"}').stdout)
        text = run("plan", "--model", "heron", json.dumps({"password": "$(quay-4017)\\'x"})).stdout
        self.assertIn("  run       (echo ***; sleep 1; echo ***)| passwd root ", text)

    def test_a_digest_of_an_unknown_service_code(self):
        device = factory("heron")
        del device["service_code"]
        done = run("plan", "--device", "-", '{"password":"quay-4017"}', stdin=json.dumps(device))
        self.assertRegex(done.stdout, r"zuconfig.general.password: '\w+\.\.\.' -> \(a digest that depends on the service "
                                      r"code\)\n")
        done = run("plan", "--json", "--device", "-", '{"password":"quay-4017"}', stdin=json.dumps(device))
        self.assertEqual([each.get("unforeseen") for each in json.loads(done.stdout)["changes"]], [True])
        self.assertNotIn("unforeseen", run("plan", "--model", "heron", "--json", '{"password":"quay-4017"}').stdout)

    def test_the_customer_file(self):
        text = run("plan", "--model", "heron", "--route", "set_config",
                   '{"customer_name":"C","help_url":"http://h"}').stdout
        self.assertIn("  run       (writes /etc/wbf/customer: fw_type=2; customer_name=C; help_url=http://h)\n", text)

    def test_odd_keys_stand_in_quotes(self):
        text = run("plan", "--model", "heron", '{"":"a"," 2g_ssid":"b","a\\nb":1}').stdout
        self.assertIn('  unknown   "": there is no such key\n', text)
        self.assertIn('  unknown   " 2g_ssid": there is no such key; did you mean 2g_ssid?\n', text)
        self.assertIn('  unknown   "a\\x0ab": there is no such key\n', text)
        self.assertIn('heron: "": unknown: ', run("check", "--model", "heron", '{"":"a"}').stdout)

    def test_sums(self):
        for arguments, end in [
                (["{}"], "23 models: nothing was asked for"),
                (["--model", "heron", "{}"], "nothing was asked for"),
                (["--model", "heron", "--route", "/cloud/aerolink/get", "{}"], "a read, answered with 10 members"),
                (["--route", "/cloud/aerolink/get", "{}"], "23 models: a read"),
                (["--model", "heron", '{"wan_proto":"dhcp"}'], "1 key: 1 same"),
                (['{"wan_proto":"dhcp"}'], "23 models: every option had its value on each"),
                (['{"2g_ssid":"x"}'], "23 models: every key has an effect on each"),
                (['{"2g_ssid":"x","wan_proto":"dhcp"}'],
                 "23 models: every key has an effect on each, or its option had the value")]:
            self.assertEqual(run("plan", *arguments).stdout.splitlines()[-1], end)

    def test_waiting(self):
        text = run("plan", "--model", "heron", "--route", "set_config", '{"xwf_enable": "1"}').stdout
        self.assertIn("  answer    0 {}, after 35 s\n", text)

    def test_nothing_moves_the_cursor(self):
        request = json.dumps({"2g_ssid": "a\x1b[2J\nb\x85\u009bc\x7f", "\x1b]0;x\x07": "y", "wan_proto": "ü漢'"})
        device = json.dumps(factory("heron", id="\x1b[31m"))
        for arguments in (["plan", "--device", "-", request], ["check", "--device", "-", request]):
            text = run(*arguments, stdin=device).stdout
            self.assertNotRegex(text, "[\x00-\x09\x0b-\x1f\x7f-\x9f]")
        text = run("plan", "--device", "-", request, stdin=device).stdout
        self.assertIn("-> 'ü漢''", text)
        self.assertIn("  refused   2g_ssid: not with these characters\n", text)
        text = run("plan", "--model", "heron", json.dumps({"2g_ssid": "a\nb\x85\u009bc\x7f"})).stdout
        self.assertIn(r"-> 'a\x0ab\xc2\x85\xc2\x9bc\x7f'", text)

    def test_long_values_are_cut(self):
        text = run("plan", "--model", "heron", json.dumps({"wan_proto": "a" * 500, "password": "abcdefgh"})).stdout
        self.assertLess(max(map(len, text.splitlines())), 130)


class Terminal(unittest.TestCase):
    def test_colour_on_a_terminal_only(self):
        self.assertIn("\033[31mrefused\033[0m", on_terminal("plan", ASKED))
        self.assertNotIn("\033", run("plan", ASKED).stdout)

    def test_colour_can_be_refused(self):
        for environment in ({"NO_COLOR": "1"}, {"TERM": "dumb"}):
            self.assertNotIn("\033", on_terminal("plan", ASKED, **environment))
        self.assertIn("\033", on_terminal("plan", ASKED, NO_COLOR=""))


class Check(unittest.TestCase):
    def test_silent_when_all_is_well(self):
        done = run("check", '{"2g_ssid": "Harbour Cafe", "lan_ip": "192.168.70.1"}')
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))
        self.assertEqual(run("check", "{}").returncode, 0)

    def test_one_line_a_finding(self):
        done = run("check", "--model", "heron", '{"2g_key": "short", "2g_ssid": "a", "hostnam": "x"}')
        self.assertEqual(done.returncode, 3)
        self.assertEqual(done.stdout, "heron: 2g_key: refused: 8 to 63 bytes\n"
                                      "heron: hostnam: unknown: there is no such key; did you mean hostname?\n")

    def test_every_model_asked(self):
        done = run("check", '{"hostname": "x"}')
        self.assertEqual(done.returncode, 3)
        reported = [line.split(":")[0] for line in done.stdout.splitlines()]
        self.assertEqual([model for model in models() if model in reported], reported)
        self.assertIn("osprey", reported)
        self.assertNotIn("heron", reported)

    def test_a_member_that_stands_twice(self):
        request = r'{"2g_key":"short","x":{"a":1,"a":[{}]},"2g\u005fkey" : "long,enough","hostname":"a\"2g_ssid","2g_ssid":"q"}'
        said = "2g_key stands more than once in the request, and only the last one counts"
        done = run("check", "--model", "heron", request)
        self.assertEqual(done.returncode, 3)
        self.assertEqual(done.stdout.splitlines()[1:], ["heron: 2g_key: ignored: it stands again in the request, and "
                                                        "only the last one counts"])
        self.assertIn(f"  note      {said}\n", run("plan", request).stdout)
        self.assertEqual(json.loads(run("plan", "--model", "heron", "--json", request).stdout)["notes"], [said])
        device = json.dumps(factory("heron")) + "\n"
        self.assertEqual(run("check", "--stream", request, stdin=device).stdout, done.stdout)

    def test_a_wrapped_batch(self):
        done = run("check", "--model", "heron", '{"result": 0, "response": {"2g_ssid": "a"}}')
        self.assertEqual(done.returncode, 3)
        self.assertEqual(done.stdout, "heron: result: unknown: there is no such key\n"
                                      "heron: response: unknown: there is a batch inside: send that alone\n")

    def test_as_json(self):
        done = run("check", "--json", "--model", "heron", '{"2g_key": "short", "hostnam": "x"}')
        self.assertEqual([json.loads(line) for line in done.stdout.splitlines()], [
            {"model": "heron", "route": "/cloud/aerolink/batch_set", "key": "2g_key", "outcome": "refused",
             "reason": "check", "message": "8 to 63 bytes"},
            {"model": "heron", "route": "/cloud/aerolink/batch_set", "key": "hostnam", "outcome": "unknown",
             "reason": "other", "message": "there is no such key", "suggestion": "hostname"}])

    def test_a_stream(self):
        devices = [factory("heron", id="a"), factory("osprey", id="b")]
        text = "".join(json.dumps(device) + "\n" for device in devices)
        done = run("check", "--stream", '{"hostname": "x"}', stdin=text)
        self.assertEqual((done.returncode, done.stdout),
                         (3, "b (osprey): hostname: unknown: not on this model, by this route\n"))
        self.assertEqual(run("check", "--stream", '{"2g_ssid": "x"}', stdin=text).returncode, 0)
        self.assertEqual(run("check", "--stream", '{"2g_ssid": "x"}', stdin=text + "x\n").returncode, 1)


if __name__ == "__main__":
    unittest.main()
