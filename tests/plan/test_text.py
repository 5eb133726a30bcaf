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

1 changed, 1 applied, 2 refused
""")

    def test_all_models_on_a_screen(self):
        done = run("plan", ASKED)
        self.assertEqual(done.stdout, run("plan", "--all-models", ASKED).stdout)
        self.assertEqual(done.stdout, """\
heron, egret, crane, stork, falcon, finch
  refused   password: at least 5 bytes
  change    network.lan.ipaddr: '192.168.62.1' -> 'x'
  change    wireless.{wifi0,radio0}.htmode: (differs) -> 'HT40'
  change    dhcp.localhost.ip: '192.168.62.1' -> 'x'
  change    wireless.radio0.noscan: '0' -> '1'  (finch)
  run       echo "1" >/tmp/reboot_flag
  run       sleep 1; reboot
  then      the router reboots
  answer    0 {}

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
