# SPDX-License-Identifier: Apache-2.0
"""Requests, options and exit status."""
import json
import os
import subprocess
import unittest

from kit import AEROLINK, PATIENCE, FleetTest, sample


class Options(FleetTest):
    def setUp(self):
        super().setUp()
        self.devices = self.file("fleet", sample(60))

    def test_request_from_a_file_and_from_standard_input(self):
        request = json.dumps({"lan_ip": "10.1.1.1"})
        wanted = self.fleet("--devices", self.devices, request={"lan_ip": "10.1.1.1"})
        path = self.file("request", request.encode())
        for words, text in ((["--devices", self.devices, "-j2", path], b""), (["--devices", self.devices, path], b""),
                            ([path, "--devices", self.devices], b""), (["--devices", self.devices, "-"], request)):
            with self.subTest(words):
                done = self.run_command([AEROLINK, "fleet", *map(str, words)], input=text.encode() if text else b"")
                self.assertEqual((done.returncode, done.stdout), (0, wanted))

    def test_a_request_longer_than_a_command_line_may_be(self):
        path = self.file("request", json.dumps({"lan_ip": "10.1.1.1", "image_url": "x" * 300_000}).encode())
        done = self.run_command([AEROLINK, "fleet", "--json", "--devices", str(self.devices), str(path)])
        self.assertEqual((done.returncode, json.loads(done.stdout)["devices"]), (0, 60))

    def test_wrong_requests(self):
        for request, said in (("{", "request"), ("missing", "missing: No such file"), ("[]", "no JSON object"),
                              ("", "")):
            with self.subTest(request):
                done = self.run_command([AEROLINK, "fleet", "--devices", str(self.devices), request])
                self.assert_refused(done, said)
                self.assertEqual(done.stdout, b"")

    def test_wrong_options(self):
        for words in (["-j", "0"], ["-j", "many"], ["--group-by", "colour"], ["--fail-on", "refused"], ["--nosuch"],
                      ["--plans", "-"], ["--plans", "."], ["--plans", "nowhere/plans"], ["--plans", self.devices],
                      ["--route", "nosuch"]):
            with self.subTest(words):
                before = self.devices.read_bytes()
                done = self.run_fleet("--devices", self.devices, *words)
                self.assert_refused(done, "aerolink fleet: ")
                self.assertEqual(done.stdout, b"")
                self.assertEqual(self.devices.read_bytes(), before)

    def test_conditions_set_the_status(self):
        for condition, status, said in (("refused>0", 3, b"refused>0"), ("error>50%, unknown>=1%", 3, b"unknown>=1%"),
                                        ("error>50%", 0, b"")):
            with self.subTest(condition):
                done = self.run_fleet("--devices", self.devices, "--fail-on", condition)
                self.assertEqual(done.returncode, status)
                self.assertEqual(done.stderr, b"aerolink fleet: " + said + b"\n" if said else b"")
                self.assertTrue(done.stdout.startswith(b"60 devices: "))

    def test_models_are_told_when_asked(self):
        grouped = self.fleet("--devices", self.devices, "--group-by", "model").decode()
        self.assertRegex(grouped, r"\nheron: \d+ devices\n")
        self.assertTrue(grouped.startswith(self.fleet("--devices", self.devices).decode()))

    def test_plans_of_a_full_disk(self):
        done = self.run_fleet("--devices", self.devices, "--plans", "/dev/full")
        self.assert_refused(done, "No space left on device")

    def test_a_reader_that_goes_away(self):
        command = ["sh", "-c", '"$@" | true', "sh", *self.command("--json", "--devices", self.devices)]
        done = subprocess.run(command, capture_output=True, timeout=PATIENCE, check=False)
        self.assertEqual(done.stderr, b"")

    def test_help(self):
        done = self.run_command([AEROLINK, "fleet", "--help"], env=os.environ | {"COLUMNS": "100"})
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        self.assertIn(b"--fail-on CONDITIONS", done.stdout)


if __name__ == "__main__":
    unittest.main()
