# SPDX-License-Identifier: Apache-2.0
"""Every kind of snapshot: folder, backup, export, JSON object; and what is wrong with those that are refused."""
import gzip
import io
import json
import shutil
import subprocess
import tarfile
import tempfile
import unittest
from pathlib import Path

from support import factory, models, run

NETWORK = "config interface 'lan'\n\toption proto 'static'\n\toption ipaddr '10.0.0.1'\n"
WIRELESS = ("config wifi-device 'radio0'\n\toption channel '6'\n\nconfig wifi-iface 'default_radio0'\n"
            "\toption ssid 'It'\\''s'\n")
REQUEST = '{"lan_ip": "10.0.0.2", "2g_ssid": "new"}'
CHANGES = [{"path": "network.lan.ipaddr", "from": "10.0.0.1", "to": "10.0.0.2"},
           {"path": "wireless.default_radio0.ssid", "from": "It's", "to": "new"}]


def planned(*arguments, stdin=""):
    done = run("plan", "--json", *arguments, stdin=stdin)
    assert done.returncode == 0, done
    return json.loads(done.stdout)


def changes(*arguments, stdin=""):
    made = planned(*arguments, stdin=stdin)
    return made["model"], sorted(made["changes"], key=lambda change: change["path"])


class Sources(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="aerolink-test-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def put(self, path, text):
        file = self.folder / "device" / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")
        return self.folder / "device"

    def device(self):
        self.put("etc/config/network", NETWORK)
        return self.put("etc/config/wireless", WIRELESS)

    def refused(self, text, *arguments, stdin=""):
        done = run("plan", *arguments, stdin=stdin)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn(text, done.stderr if isinstance(done.stderr, str) else done.stderr.decode())


class Folder(Sources):
    def test_a_device_s_file_system(self):
        model, found = changes("--device", self.device(), "--model", "finch", REQUEST)
        self.assertEqual(model, "finch")
        self.assertEqual([each for each in found if each["path"] in ("network.lan.ipaddr",
                                                                   "wireless.default_radio0.ssid")], CHANGES)

    def test_what_it_says_of_itself(self):
        device = self.device()
        self.put("etc/device/model_name", "finch\n")
        self.put("etc/device/repeater", "1\n")
        self.put("tmp/.uci/network", "network.lan.proto='dhcp'\n")
        made = planned("--device", device, '{"2g_channel": "1"}')
        self.assertEqual(made["keys"][0]["reason"], "repeater")
        self.assertIn({"path": "network.lan.proto", "from": "static", "to": "dhcp"}, made["changes"])
        self.refused("this is a finch, not a heron", "--device", device, "--model", "heron", "{}")

    def test_bytes_that_are_no_text(self):
        device = self.device()
        (device / "etc/config/zuconfig").write_bytes(b"config service 'cloud'\n\toption serverzone 'caf\xe9'\n")
        for route in ("get", "get_config", "set_config", "batch_set"):
            self.assertEqual(planned("--device", device, "--model", "finch", "--route", route, REQUEST)["result"], 0)
        self.assertEqual(planned("--device", device, "--model", "finch", "--route", "/cloud/aerolink/get", "{}")
                         ["response"]["serverzone"], "caf\ufffd")

    def test_links_lead_nowhere_else(self):
        device = self.device()
        (self.folder / "secret").write_text(NETWORK, encoding="utf-8")
        for target in (self.folder / "secret", "../../../secret", "/etc/passwd"):
            link = device / "etc/config/dhcp"
            link.symlink_to(target)
            self.refused("etc/config/dhcp: ", "--device", device, "--model", "finch", "{}")
            link.unlink()
        (device / "etc/config/dhcp").symlink_to("network")
        self.assertEqual(planned("--device", device, "--model", "finch", "{}")["result"], 0)

    def test_what_is_no_device(self):
        self.refused("No such file or directory", "--device", self.folder / "nosuch", "{}")
        self.refused("there is no file in etc/config/", "--device", self.folder, "--model", "finch", "{}")
        device = self.device()
        self.refused("it does not say its model: --model does", "--device", device, "{}")
        self.put("etc/config/network", "config interface 'lan'\n\toption\n")
        self.refused("etc/config/network: Parse error (insufficient arguments) at line 2, byte 1", "--device", device,
                     "--model", "finch", "{}")
        self.put("etc/config/network", "config x\n" * 40000)
        self.refused("larger than 262144 bytes", "--device", device, "--model", "finch", "{}")
        for number in range(600):
            self.put(f"etc/config/p{number}", "")
        self.refused("etc/config: more than 512 files", "--device", device, "--model", "finch", "{}")

    def test_special_files(self):
        device = self.device()
        (device / "etc/config/folder").mkdir()
        self.assertEqual(planned("--device", device, "--model", "finch", "{}")["result"], 0)
        subprocess.run(["mkfifo", device / "etc/config/pipe"], check=True)
        self.refused("etc/config/pipe is no plain file", "--device", device, "--model", "finch", "{}")

    def test_copies_that_do_not_parse_are_passed_over(self):
        device = self.put("etc/config/network~", "config interface 'lan'\n\toption\n")
        self.device()
        made = json.loads(run("snapshot", "--device", device, "--model", "finch").stdout)
        self.assertEqual(made["uci"].count("package "), 2)
        self.put("etc/config/network-old", "config interface 'lan'\n\toption\n")
        self.refused("etc/config/network-old: Parse error", "--device", device, "--model", "finch", "{}")


class Backup(Sources):
    def backup(self, members, compress=True):
        path = self.folder / "backup.tar.gz"
        with tarfile.open(path, "w:gz", compresslevel=1) if compress else tarfile.open(path, "w") as archive:
            for name, content in members:
                info = content if isinstance(content, tarfile.TarInfo) else tarfile.TarInfo(name)
                if info is not content:
                    info.size = len(content)
                archive.addfile(info, io.BytesIO(content) if info is not content else None)
        return path

    GOOD = [("etc/config/network", NETWORK.encode()), ("etc/config/wireless", WIRELESS.encode()),
            ("etc/passwd", b"root::0:0::/:\n"), ("etc/dropbear/key", b"\0" * 1000)]

    def test_all_ways_to_write_a_path(self):
        for prefix in ("", "./", "/", ".//"):
            for compress in (True, False):
                path = self.backup([(prefix + name, content) for name, content in self.GOOD], compress)
                model, found = changes("--device", path, "--model", "finch", REQUEST)
                self.assertEqual([each for each in found if not each["path"].startswith("dhcp")], CHANGES)
                self.assertEqual(model, "finch")

    def test_on_standard_input(self):
        done = run("plan", "--device", "-", "--model", "finch", REQUEST, stdin=self.backup(self.GOOD).read_bytes())
        self.assertIn(b"network.lan.ipaddr: '10.0.0.1' -> '10.0.0.2'", done.stdout)

    def test_nothing_is_written_or_followed(self):
        hostile = [("../../etc/config/evil", b"x"), ("etc/config/../evil", b"x"), ("etc/config/a/b", b"x"),
                   ("etc/config/.hidden", b"x")]
        before = sorted(self.folder.rglob("*"))
        path = self.backup(self.GOOD + hostile)
        made = run("snapshot", "--device", path, "--model", "finch")
        self.assertEqual(json.loads(made.stdout)["uci"].count("package"), 2)
        self.assertEqual(sorted(self.folder.rglob("*")), sorted([*before, path]))

    def test_what_is_refused(self):
        def special(kind, name="etc/config/dhcp", target="/etc/passwd"):
            info = tarfile.TarInfo(name)
            info.type, info.linkname = kind, target
            return (name, info)

        model = ("--model", "finch", "{}")
        for kind in (tarfile.SYMTYPE, tarfile.LNKTYPE, tarfile.FIFOTYPE, tarfile.CHRTYPE):
            self.refused("etc/config/dhcp in the backup is no plain file", "--device",
                         self.backup([*self.GOOD, special(kind)]), *model)
        for path in ("etc/config/../config/wireless", "/etc/../etc/config/evil", "etc//config/dhcp", "etc/config/./dhcp"):
            self.refused("another way to write etc/config/", "--device", self.backup([*self.GOOD, (path, b"")]), *model)
        self.refused("twice", "--device", self.backup([*self.GOOD, self.GOOD[0]]), *model)
        self.refused("larger than 1048576 bytes", "--device",
                     self.backup([("etc/config/big", b"#" * (1 << 20) + b"#")]), *model)
        self.refused("more than 67108864 bytes", "--device", self.backup([("big", bytes((64 << 20) + 1))]), *model)
        self.refused("more than 10000 entries", "--device",
                     self.backup([(f"f{number}", b"") for number in range(10001)]), *model)
        self.refused("no file in etc/config/", "--device", self.backup([("etc/passwd", b"x")]), *model)
        self.refused("does not say its model", "--device", self.backup(self.GOOD), "{}")

    def test_damage(self):
        whole = self.backup(self.GOOD).read_bytes()
        path = self.folder / "damaged"
        for content in (whole[:40], whole[:-30], whole[:200] + b"\xff" * 50 + whole[250:], b"\x1f\x8b",
                        gzip.compress(b"no archive" * 100), b"\x1f\x8b" + bytes(100)):
            path.write_bytes(content)
            done = run("plan", "--device", path, "--model", "finch", "{}")
            self.assertIn(done.returncode, (0, 1))
            self.assertLess(len(done.stderr), 300)


class Export(Sources):
    TEXT = f"package network\n\n{NETWORK}\npackage wireless\n\n{WIRELESS}"

    def test_text(self):
        for stdin, source in ((self.TEXT, "-"), ("", self.put("export", self.TEXT) / "export")):
            model, found = changes("--device", source, "--model", "finch", REQUEST, stdin=stdin)
            self.assertEqual(model, "finch")
            self.assertEqual([each for each in found if each["path"] != "dhcp.localhost.ip"], CHANGES)

    def test_bytes_that_are_no_utf8(self):
        text = b"package wireless\nconfig wifi-iface\n\toption device 'wifi0'\n\toption ssid 'caf\xe9'\n"
        done = run("plan", "--device", "-", "--model", "heron", "--route", "batch_get", "--json",
                   '{"name": ["2g_ssid"]}', stdin=text)
        self.assertEqual(json.loads(done.stdout)["response"], {"2g_ssid": "caf\ufffd"}, done.stderr)
        self.assertEqual(json.loads(done.stdout)["notes"],
                         ["the answer holds bytes that are no UTF-8: U+FFFD stands for them"])
        done = run("plan", "--device", "-", "--model", "heron", "--json", '{"2g_ssid": "x"}', stdin=text)
        self.assertEqual(json.loads(done.stdout)["changes"][0]["from"], "caf\ufffd")
        self.assertEqual(json.loads(done.stdout)["notes"], [
            "wireless.@wifi-iface[0].ssid holds bytes that are no UTF-8: in JSON U+FFFD stands for them"])
        done = run("snapshot", "--device", "-", "--model", "heron", stdin=text)
        self.assertEqual(done.stderr.decode(), "aerolink snapshot: wireless.@wifi-iface[0].ssid holds bytes that are no "
                                               "UTF-8: U+FFFD stands for them\n")
        self.assertEqual(json.loads(done.stdout)["uci"].count("caf\ufffd"), 1)
        self.assertEqual(run("snapshot").stderr, "")

    def test_what_is_refused(self):
        for text, reason in ((NETWORK, "attempt to import a file without a package name"), ("", "no configuration"),
                             ("package network\nconfig 'x", "unterminated '"), ("package a/b\n", "invalid character"),
                             ("\0", "no configuration"), ("package n\n" * 30000, "larger than 262144 bytes")):
            self.refused(reason, "--device", "-", "--model", "finch", "{}", stdin=text)
        self.refused("does not say its model", "--device", "-", "{}", stdin=self.TEXT)


class Object(Sources):
    def test_a_line_of_a_stream(self):
        text = json.dumps(factory("heron", id="ap-17"), indent=2)
        made = planned("--device", "-", '{"2g_ssid": "x"}', stdin=text)
        self.assertEqual((made["id"], made["model"]), ("ap-17", "heron"))
        self.refused("this is a heron, not a finch", "--device", "-", "--model", "finch", "{}", stdin=text)

    def test_the_model_alone(self):
        self.assertEqual(planned("--device", "-", "{}", stdin='{"model": "wren"}'), planned("--model", "wren", "{}"))
        self.refused("there is no profile of a model haron: did you mean heron?", "--model", "haron", "{}")
        self.refused("there are heron, egret", "--model", "submarine", "{}")

    def test_a_model_that_nobody_knows_is_one_without_a_family(self):
        line = factory("generic-dual") | {"model": "submarine"}
        expected = planned("--model", "generic-dual", REQUEST)
        self.assertEqual(planned("--device", "-", REQUEST, stdin=json.dumps(line)), expected | {"model": "submarine"})

    def test_a_snapshot_gives_the_same_plan_as_its_source(self):
        for model in models():
            line = run("snapshot", "--model", model).stdout
            again = run("snapshot", "--device", "-", stdin=line).stdout
            self.assertEqual(again, line)
            self.assertEqual(planned("--device", "-", REQUEST, stdin=line), planned("--model", model, REQUEST))

    def test_recorded_changes_and_files_survive(self):
        line = json.dumps(factory("heron", files={"/tmp/.uci/network": "network.lan.proto='dhcp'\n",
                                                  "/etc/wbf/customer": "fw_type=2\n"}))
        again = json.loads(run("snapshot", "--device", "-", stdin=line).stdout)
        self.assertEqual(again["files"], {"/tmp/.uci/network": "network.lan.proto='dhcp'\n",
                                          "/etc/wbf/customer": "fw_type=2\n"})


if __name__ == "__main__":
    unittest.main()
