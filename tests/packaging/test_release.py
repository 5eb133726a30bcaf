# SPDX-License-Identifier: Apache-2.0
"""The release script: what it refuses, and what it makes of a tree that it does not."""
import os
import subprocess
import tarfile
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]

# In place of CMake and its packager: a build folder that is set up for packages, and a package.
PROGRAMS = {
    "cmake": 'echo "cmake $*" >>"$CALLS"; [ "$1" != -S ] || { mkdir -p build/release/kit; '
             ': >build/release/kit/CPackConfig.cmake; }',
    "cpack": 'echo "cpack $*" >>"$CALLS"; echo package >../kit.deb',
}


class ReleaseTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.calls = self.folder / "calls"
        self.tree = self.folder / "tree"
        for name, script in PROGRAMS.items():
            self.write(self.folder / "bin" / name, "#!/bin/sh\n" + script + "\n", 0o755)
        self.write(self.tree / "CMakeLists.txt", "project(aerolink VERSION 1.2.0 LANGUAGES C CXX)\n")
        self.write(self.tree / "CHANGELOG.md", "# Changes\n\n## 1.2.0 (2026-11-21)\n\n- All.\n")
        self.write(self.tree / ".gitignore", "/build/\n")
        self.write(self.tree / ".ci/run", f"#!/bin/sh\necho tested >>{self.calls}\n", 0o755)
        self.write(self.tree / "packaging/release", (ROOT / "packaging/release").read_text(encoding="utf-8"), 0o755)
        self.git("init", "-q")
        self.commit()

    def write(self, path, text, mode=0o644):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        path.chmod(mode)

    def git(self, *arguments):
        return subprocess.run(["git", "-c", "user.name=a", "-c", "user.email=a@example", *arguments], cwd=self.tree,
                              check=True, capture_output=True, text=True).stdout

    def commit(self):
        self.git("add", "-A")
        self.git("commit", "-qm", "one")

    def release(self, *arguments):
        environment = os.environ | {"PATH": f"{self.folder / 'bin'}:{os.environ['PATH']}", "CALLS": str(self.calls)}
        return subprocess.run([self.tree / "packaging/release", *arguments], env=environment, capture_output=True, text=True)

    def refused(self):
        done = self.release()
        self.assertEqual(done.returncode, 1, done.stdout)
        self.assertEqual(list(self.tree.glob("build/release/*.tar.gz")), [])
        return done.stderr.strip().removeprefix("release: ")

    def test_a_release(self):
        done = self.release()
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        release = self.tree / "build/release"
        with tarfile.open(release / "aerolink-1.2.0.tar.gz") as archive:
            files = {member.name for member in archive if member.isfile()}
        self.assertEqual(files, {f"aerolink-1.2.0/{name}" for name in self.git("ls-files").split()})
        self.assertEqual((release / "kit.deb").read_text(), "package\n")
        sums = subprocess.run(["sha256sum", "-c", "SHA256SUMS"], cwd=release, capture_output=True, text=True)
        self.assertEqual(sums.stdout, "aerolink-1.2.0.tar.gz: OK\nkit.deb: OK\n")
        self.assertEqual(self.calls.read_text().count("tested"), 1)
        self.assertEqual(self.calls.read_text().splitlines()[-1], "cpack -G DEB -B ..")

    def test_a_commit_is_tested_once(self):
        self.assertEqual([self.release().returncode for _ in range(2)], [0, 0])
        self.assertEqual(self.calls.read_text().count("tested"), 1)
        self.write(self.tree / "new", "")
        self.commit()
        self.assertEqual(self.release().returncode, 0)
        self.assertEqual(self.calls.read_text().count("tested"), 2)

    def test_a_tree_with_changes(self):
        self.write(self.tree / "new", "")
        self.assertEqual(self.refused(), "the tree has changes that are not committed")

    def test_a_tree_whose_tests_fail(self):
        self.write(self.tree / ".ci/run", "#!/bin/sh\nexit 3\n", 0o755)
        self.commit()
        self.assertEqual([self.refused() for _ in range(2)], ["the tests have not passed"] * 2)

    def test_tests_that_change_the_tree(self):
        self.write(self.tree / ".ci/run", "#!/bin/sh\necho >>CHANGELOG.md\n", 0o755)
        self.commit()
        self.assertEqual(self.refused(), "the tests have changed the tree")

    def test_a_version_without_its_changes(self):
        self.write(self.tree / "CMakeLists.txt", "project(aerolink VERSION 1.20.0 LANGUAGES C CXX)\n")
        self.commit()
        self.assertEqual(self.refused(), 'CHANGELOG.md has no section "## 1.20.0 (DATE)"')

    def test_a_version_that_is_out(self):
        self.git("tag", "v1.2.0")
        self.assertEqual(self.refused(), "version 1.2.0 is tagged already")

    def test_a_wrong_use(self):
        done = self.release("now")
        self.assertEqual(done.returncode, 2)
        self.assertIn("usage: release", done.stderr)


if __name__ == "__main__":
    unittest.main()
