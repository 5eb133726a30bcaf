# SPDX-License-Identifier: Apache-2.0
"""Files of a fleet: plain, packed, piped, several, broken, hostile."""
import gzip
import json
import subprocess
import unittest

from kit import PATIENCE, FleetTest, sample

HOSTILE = [b"", b"   ", b"null", b"[]", b"17", b'"ap"', b"{}", b"{", b"\x00\x01", b"\xff\xfe", b"[" * 100_000,
           b'{"id": "e1", "model": 5, "uci": ""}', b'{"id": "e2", "model": "heron", "uci": 7}',
           b'{"id": "e3", "model": "heron", "uci": "config interface \'lan"}', b'{"a": "' + b"x" * 100_000 + b'"}',
           b'{"id": "e4", "model": "heron\\u0000", "uci": ""}', b'{"id": {"a": 1}, "uci": ""}', b"\r"]


def zstd(content):
    return subprocess.run(["zstd", "-qc"], input=content, stdout=subprocess.PIPE, timeout=PATIENCE, check=True).stdout


class Input(FleetTest):
    @classmethod
    def setUpClass(cls):
        cls.devices = sample(100)  # all of them sound

    def setUp(self):
        super().setUp()
        self.plain = self.file("fleet", self.devices)

    def test_packed(self):
        wanted = self.fleet("--devices", self.plain)
        for name, content in (("a", gzip.compress(self.devices)), ("b", zstd(self.devices)),
                              ("c", gzip.compress(self.devices[:5000]) + gzip.compress(self.devices[5000:])),
                              ("d", zstd(self.devices[:5000]) + zstd(self.devices[5000:]))):
            with self.subTest(name):
                self.assertEqual(self.fleet("--devices", self.file(name, content)), wanted)

    def test_piped(self):
        wanted = self.fleet("--devices", self.plain)
        for content in (self.devices, gzip.compress(self.devices), zstd(self.devices)):
            self.assertEqual(self.fleet("--devices", "-", input=content), wanted)

    def test_several_files_in_order(self):
        lines = self.devices.splitlines(keepends=True)
        parts = [self.file("1", b"".join(lines[:40])), self.file("2", b""), self.file("3", gzip.compress(lines[40])),
                 self.file("4", b"".join(lines[41:]).rstrip(b"\n"))]
        plans = [self.folder / "plans-of-all", self.folder / "plans-of-parts"]
        whole = self.told("--devices", self.plain, "--plans", plans[0])
        cut = self.told("--devices", *parts, "--plans", plans[1])
        self.assertEqual(whole["devices"], 100)
        self.assertEqual(cut, whole)
        self.assertEqual(plans[0].read_bytes(), plans[1].read_bytes())

    def test_nothing(self):
        for content in (b"", gzip.compress(b""), zstd(b"")):
            told = self.told("--devices", self.file("nothing", content))
            self.assertEqual((told["devices"], told["planned"], told["error"], told["complete"]), (0, 0, 0, True))
        self.assertIn(b"0 devices: 0 planned", self.fleet("--devices", "/dev/null"))

    def test_torn_files(self):
        for program, packed in (("gzip", gzip.compress(self.devices)), ("zstd", zstd(self.devices))):
            with self.subTest(program):
                done = self.run_fleet("--json", "--devices", self.file("torn", packed[:len(packed) // 2]))
                self.assert_refused(done, "torn: ")
                told = json.loads(done.stdout)
                self.assertFalse(told["complete"])
                self.assertIn("torn: ", told["incomplete"])
                self.assertLess(told["devices"], 100)

    def test_a_packed_file_with_a_flipped_bit(self):
        packed = bytearray(gzip.compress(self.devices))
        packed[-6] ^= 1  # of the checksum
        done = self.run_fleet("--devices", self.file("flipped", bytes(packed)))
        self.assert_refused(done, "flipped: ")
        self.assertTrue(done.stdout.startswith(b"INCOMPLETE: "))

    def test_what_is_no_file(self):
        for name, why in (("missing", "No such file"), (self.folder, "Is a directory")):
            with self.subTest(name):
                done = self.run_fleet("--devices", self.plain, name)
                self.assert_refused(done, f"{name}: {why}")
                self.assertEqual(done.stdout, b"")

    def test_hostile_lines(self):
        lines = self.devices.splitlines()[:50]
        plans = self.folder / "plans"
        before = self.told("--devices", self.file("some", b"\n".join(lines)))
        told = self.told("--devices", self.file("hostile", b"\n".join(HOSTILE + lines + HOSTILE)), "--plans", plans)
        blank = sum(not line.strip() for line in HOSTILE)
        self.assertEqual(told["devices"], 2 * (len(HOSTILE) - blank) + 50)
        self.assertEqual(told["error"], before["error"] + 2 * (len(HOSTILE) - blank))
        self.assertEqual(told["keys"], before["keys"])
        self.assertEqual(sum(each["devices"] for each in told["errors"]), told["error"])
        self.assertEqual(len(plans.read_bytes().splitlines()), told["devices"])

    def test_a_line_without_an_end(self):
        endless = b'{"id": "' + b"x" * (20 << 20)
        told = self.told("--devices", self.file("endless", self.devices + endless + b"\n" + self.devices))
        self.assertEqual((told["devices"], told["error"]), (201, 1))

    def test_names_that_would_steer_a_terminal(self):
        device = json.dumps({"id": "\x1b[2J\r\n\u202e", "model": "heron\x1b]0;x\x07"}).encode()
        shown = self.fleet("--devices", self.file("steering", device))
        self.assertFalse([byte for byte in shown if byte < 32 and byte != 10])
        self.assertNotIn("\u202e", shown.decode())

    def test_one_word_after_devices(self):
        done = subprocess.run([*self.command("--devices")], capture_output=True, timeout=PATIENCE, check=False)
        self.assert_refused(done, "is missing")


if __name__ == "__main__":
    unittest.main()
