# SPDX-License-Identifier: Apache-2.0
"""Whether the files that are made from the plug-in and kept in the tree are what it gives."""
import os
import subprocess
import unittest


class GeneratedFiles(unittest.TestCase):
    def test_are_up_to_date(self):
        done = subprocess.run([os.environ["AEROLINK"], "generate", "--check"], capture_output=True, text=True,
                              check=False)
        self.assertEqual(done.stdout + done.stderr, "")
        self.assertEqual(done.returncode, 0)


if __name__ == "__main__":
    unittest.main()
