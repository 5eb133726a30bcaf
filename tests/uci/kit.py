# SPDX-License-Identifier: Apache-2.0
"""What the tests of several processes, faults and full disks share: a folder with a package, and `uci` on it."""
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

UCI = os.environ["UCI"]

PACKAGE = """
config interface 'lan'
	option proto 'dhcp'
	list dns '1.1.1.1'

config rule
	option n '1'

config rule
	option n '2'

config rule
	option n '3'

"""


class StoreTest(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.root)
        (self.root / "config").mkdir()
        (self.root / "config/net").write_text(PACKAGE)

    def run_uci(self, *words, env=None, stdin=""):
        return subprocess.run([UCI, "-c", "config", "-t", "delta", *words], cwd=self.root, env=env, input=stdin,
                              capture_output=True, text=True, timeout=60, check=False)

    def uci(self, *words, stdin=""):
        done = self.run_uci(*words, stdin=stdin)
        self.assertEqual((done.returncode, done.stderr), (0, ""), words)
        return done.stdout
