# SPDX-License-Identifier: Apache-2.0
"""Whether a made-up fleet is the same every time, covers the models, and is mostly sound."""
import json
import os
import subprocess
import unittest
from collections import Counter

from kit import AEROLINK, PATIENCE, FleetTest, sample

MODELS = 23


def snapshots(text):
    """Those lines that are whole JSON objects."""
    for line in text.splitlines():
        try:
            snapshot = json.loads(line)
        except ValueError:
            continue
        if isinstance(snapshot, dict):
            yield snapshot


class Sample(FleetTest):
    @classmethod
    def setUpClass(cls):
        cls.fleet_of_4000 = sample(4000)

    def test_is_the_same_every_time(self):
        self.assertEqual(sample(4000), self.fleet_of_4000)
        self.assertEqual(sample(100), b"".join(self.fleet_of_4000.splitlines(keepends=True)[:100]))
        self.assertEqual(sample(0), b"")

    def test_another_seed_is_another_fleet(self):
        self.assertNotEqual(sample(10, seed=2), sample(10, seed=1))

    def test_has_every_model_and_each_id_once(self):
        found = list(snapshots(self.fleet_of_4000))
        self.assertEqual(len({snapshot["model"] for snapshot in found if "model" in snapshot}), MODELS)
        self.assertEqual(max(Counter(snapshot["id"] for snapshot in found).values()), 1)

    def test_a_few_are_broken(self):
        planned = subprocess.run([AEROLINK, "plan", "--stream", "{}"], input=self.fleet_of_4000, capture_output=True,
                                 timeout=PATIENCE, check=False).stdout
        errors = sum("error" in json.loads(line) for line in planned.splitlines())
        self.assertEqual(self.fleet_of_4000.count(b"\n"), 4000)
        self.assertTrue(4 <= errors <= 40, errors)

    def test_configurations_are_what_uci_exports(self):
        same = Counter(self.round_trip(snapshot["uci"]) == snapshot["uci"]
                       for snapshot in list(snapshots(self.fleet_of_4000))[:60] if isinstance(snapshot["uci"], str))
        self.assertGreaterEqual(same[True], 59)

    def round_trip(self, text):
        options = {"cwd": self.folder, "capture_output": True, "text": True, "timeout": PATIENCE, "check": False}
        for package in text.split("package ")[1:]:
            (self.folder / package.partition("\n")[0]).touch()
        subprocess.run([os.environ["UCI"], "-c", ".", "-t", "delta", "import"], input=text, **options)
        exported = subprocess.run([os.environ["UCI"], "-c", ".", "-t", "delta", "export"], **options).stdout
        for path in self.folder.iterdir():
            path.unlink() if path.is_file() else path.rmdir()
        return exported

    def test_wrong_use(self):
        for words in ([], ["-1"], ["many"], ["1", "--seed", "x"], ["1", "2"]):
            done = subprocess.run([AEROLINK, "fleet-sample", *words], capture_output=True, timeout=PATIENCE,
                                  check=False)
            with self.subTest(words):
                self.assert_refused(done, "usage: aerolink fleet-sample")

    def test_a_reader_that_has_enough(self):
        done = subprocess.run(["sh", "-c", '"$0" fleet-sample 2000 | head -n 1', AEROLINK], capture_output=True,
                              timeout=PATIENCE, check=True)
        self.assertEqual((done.stdout, done.stderr), (self.fleet_of_4000.splitlines(keepends=True)[0], b""))


if __name__ == "__main__":
    unittest.main()
