# SPDX-License-Identifier: Apache-2.0
"""What a box may use of the machine."""
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

from router import BOX, Router, wait_for

sys.path.append(str(BOX.parent))
from boxes import limits, supervisor  # noqa: E402  its folder had to be named first
from boxes.failure import Failure  # noqa: E402
from boxes.state import State  # noqa: E402


class Limits(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.router = Router("heron")
        cls.addClassCleanup(cls.router.stop)
        cls.router.wait_until_booted()

    def test_processes(self):
        self.router.run("for i in $(seq 600); do sleep 300 & done 2>/dev/null; wait $!")
        self.assertGreater(len(self.sleepers()), 100)
        self.assertLess(len(self.sleepers()), limits.PROCESSES)
        self.router.run("killall sleep")

    def sleepers(self):
        return [entry for entry in Path("/proc").glob("[0-9]*/cmdline") if is_sleeper(entry)]

    def test_memory_of_a_process(self):
        self.assertEqual(self.router.run("dd if=/dev/zero of=/dev/null bs=8M count=1").returncode, 0)
        done = self.router.run("dd if=/dev/zero of=/dev/null bs=300M count=1")
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("out of memory", done.stderr)

    def test_memory_file_system(self):
        done = self.router.run("dd if=/dev/zero of=/tmp/big bs=1M count=40; ls -l /tmp/big; rm /tmp/big")
        self.assertIn("No space left on device", done.stderr)
        self.assertIn(f" {limits.TMP_SIZE // 2 ** 20}", f" {int(done.stdout.split()[4]) // 2 ** 20 + 1}")

    def test_a_file_on_disk(self):
        done = self.router.run("dd if=/dev/zero of=/etc/big bs=1M count=70; ls -l /etc/big; rm /etc/big")
        self.assertEqual(int(done.stdout.split()[4]), limits.FILE_SIZE)

    def test_all_files_on_disk(self):
        with tempfile.TemporaryDirectory() as folder:
            state = State(folder)
            Path(folder, "etc").mkdir()
            Path(folder, "etc/one").write_bytes(b"x" * 40000)
            Path(folder, "etc/two").symlink_to("/usr")
            supervisor.DiskWatch(state).look()
            with mock.patch.object(limits, "DISK_SIZE", 30000), self.assertRaisesRegex(Failure, "it was stopped"):
                supervisor.DiskWatch(state).look()


def is_sleeper(entry):
    try:
        return entry.read_bytes() == b"sleep\x00300\x00"
    except OSError:
        return False


if __name__ == "__main__":
    unittest.main()
