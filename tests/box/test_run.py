# SPDX-License-Identifier: Apache-2.0
"""Several routers side by side, and the script that starts one."""
import fcntl
import os
import shlex
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import unittest
from pathlib import Path
from unittest import mock

from router import BOX, IMAGE, PATIENCE, SOURCE, Router, run_box

sys.path.append(str(BOX.parent))
from boxes.state import copy_image  # noqa: E402  its folder had to be named first


class ListAndStop(unittest.TestCase):
    """With a list of their own: other tests have boxes too."""

    def setUp(self):
        folder = self.enterContext(tempfile.TemporaryDirectory())
        self.enterContext(mock.patch.dict(os.environ, XDG_RUNTIME_DIR=folder))

    def listed(self):
        return [line.split() for line in run_box("list").stdout.splitlines()]

    def start(self, model):
        router = Router(model)
        self.addCleanup(router.stop)
        return router

    def test_list_and_stop(self):
        self.assertEqual(run_box("list").stdout, "")
        self.assertEqual(run_box("stop").stderr, "box: no box runs\n")
        self.assertEqual(run_box("stop", "--all").returncode, 0)
        one, other = self.start("heron"), self.start("finch")
        self.assertEqual(self.listed(), [["heron", one.url, str(one.state)], ["finch", other.url, str(other.state)]])

        refused = run_box("stop")
        self.assertEqual(refused.returncode, 1)
        for text in (str(one.state), str(other.state), "--state", "--all"):
            self.assertIn(text, refused.stderr)
        self.assertEqual(run_box("stop", "--state", one.state).returncode, 0)
        self.assertEqual(one.process.wait(PATIENCE), 0)
        self.assertEqual(self.listed(), [["finch", other.url, str(other.state)]])
        self.assertEqual(run_box("stop", "--state", one.state).stderr, f"box: no box runs in {one.state}\n")
        self.assertEqual(run_box("stop").returncode, 0)
        self.assertEqual(other.process.wait(PATIENCE), 0)

    def test_stop_all(self):
        routers = [self.start("heron"), self.start("heron"), self.start("finch")]
        self.assertEqual(run_box("stop", "--all").returncode, 0)
        self.assertEqual([router.process.wait(PATIENCE) for router in routers], [0, 0, 0])
        self.assertEqual(self.listed(), [])

    def test_a_killed_box_is_not_listed(self):
        self.start("heron").stop(signal.SIGKILL)
        self.assertEqual(self.listed(), [])
        self.assertEqual(os.listdir(Path(os.environ["XDG_RUNTIME_DIR"], "aerolink-boxes")), [])

    def test_a_list_that_others_could_write_is_refused(self):
        folder = Path(os.environ["XDG_RUNTIME_DIR"], "aerolink-boxes")
        folder.mkdir()
        folder.chmod(0o777)
        self.assertIn("only its user can write", run_box("list").stderr)


class Refusals(unittest.TestCase):
    def run_box_in(self, folder, *arguments, **environment):
        return subprocess.run([sys.executable, BOX, "run", "--model", "heron", "--image", IMAGE, "--state",
                               folder + "/state", *arguments], capture_output=True, text=True, check=False,
                              timeout=PATIENCE, env=os.environ | environment)

    def test_ports(self):
        with tempfile.TemporaryDirectory() as folder, socket.create_server(("127.0.0.1", 0)) as taken:
            port = str(taken.getsockname()[1])
            done = self.run_box_in(folder, "--port", port)
            self.assertEqual((done.returncode, done.stdout, os.listdir(folder)), (1, "", []))
            self.assertRegex(done.stderr, rf"^box: port {port} of .* choose another with --port\n$")
            for wrong in ("70000", "-1", "http", "", "١"):
                done = self.run_box_in(folder, f"--port={wrong}")
                self.assertEqual((done.returncode, done.stdout, os.listdir(folder)), (2, "", []), wrong)
                self.assertIn("0 to 65535", done.stderr)

    def test_no_bubblewrap(self):
        with tempfile.TemporaryDirectory() as folder:
            done = self.run_box_in(folder, PATH=folder)
            self.assertEqual((done.returncode, done.stdout, os.listdir(folder)), (1, "", []))
            self.assertIn("box: bwrap is missing: install the package bubblewrap", done.stderr)
            broken = Path(folder, "bin/bwrap")
            broken.parent.mkdir()
            broken.write_text("#!/bin/sh\necho no namespaces here >&2; exit 1\n", encoding="ascii")
            broken.chmod(0o755)
            os.chmod(folder, 0o755)
            done = self.run_box_in(folder, PATH=f"{broken.parent}:{os.environ['PATH']}")
            self.assertEqual((done.returncode, done.stdout), (1, ""))
            self.assertEqual(done.stderr, "box: bubblewrap does not work on this machine: no namespaces here\n")


class ClosedOutput(unittest.TestCase):
    def test_is_no_error(self):
        with tempfile.TemporaryDirectory() as folder:
            show = shlex.join([sys.executable, str(BOX), "run", "--model", "heron", "--image", str(IMAGE),
                               "--state", folder + "/state", "--show"])
            for command in (f"{sys.executable} {BOX} models", show):
                done = subprocess.run(["sh", "-c", f"{command} | head -n 1"], capture_output=True, text=True,
                                      check=True, timeout=PATIENCE)
                self.assertEqual(done.stderr, "")


class ImageInUse(unittest.TestCase):
    def test_is_copied_whole_while_it_is_replaced(self):
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            shutil.copytree(IMAGE / "etc", folder / "image/etc", symlinks=True)
            expected = sorted(path.name for path in (folder / "image").rglob("*"))
            stop = threading.Event()
            swapper = threading.Thread(target=swap_until, args=(stop, folder))
            swapper.start()
            try:
                for number in range(20):
                    copy_image(folder / "image", folder / f"copy{number}")
                    found = sorted(path.name for path in (folder / f"copy{number}").rglob("*"))
                    self.assertEqual(found, expected)
            finally:
                stop.set()
                swapper.join()


def swap_until(stop, folder):
    """Does what the build does with a new image, again and again."""
    while not stop.is_set():
        shutil.copytree(folder / "image", folder / "image.new", symlinks=True)
        subprocess.run([sys.executable, "-B", "-c", "import sys; sys.argv[1:] or exit(1)\n"
                        "from importlib.machinery import SourceFileLoader\nfrom pathlib import Path\n"
                        "image = SourceFileLoader('image', sys.argv[1]).load_module()\n"
                        "image.replace(Path(sys.argv[2]), Path(sys.argv[3]))",
                        str(BOX.parent / "image"), str(folder / "image"), str(folder / "image.new")],
                       check=True, env=os.environ | {"PYTHONPATH": str(BOX.parent), "PYTHONWARNINGS": "ignore"})


# Stands in for the build: two at once would be noticed.
CMAKE = """#!/bin/sh
mkdir building || { echo "two builds at once" >&2; exit 1; }
sleep 0.2
rmdir building
mkdir -p build/main
touch build/main/build.ninja
"""


class Run(unittest.TestCase):
    def run_script(self, *arguments):
        return subprocess.run([SOURCE / "run", *arguments], capture_output=True, text=True, timeout=PATIENCE,
                              check=False)

    def test_lists_the_models(self):
        listed = self.run_script("--list").stdout.split()
        self.assertLess({"heron", "falcon", "plover-v2", "wren", "finch", "osprey", "ibis"}, set(listed))

    def test_refuses_what_it_does_not_know(self):
        for arguments in (["--colour"], ["--model"], ["--model", "penguin"], ["--model=penguin"], ["--port", "70000"],
                          ["--port=http"], ["--port="], ["--port=-1"], ["--console-port", "65536"]):
            done = self.run_script(*arguments)
            self.assertEqual(done.returncode, 2, shlex.join(arguments))
            self.assertIn("usage: ./run", done.stderr)


class RunWithAStubForTheBuild(unittest.TestCase):
    """The script in a folder of its own, with a build and a box that only say what they are asked."""

    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        (self.folder / "devkit/router").mkdir(parents=True)
        for name in ("run", "devkit/build"):
            shutil.copy(SOURCE / name, self.folder / name)
        self.stub("devkit/install", "#!/bin/sh\n")
        self.stub("bin/cmake", CMAKE)
        self.stub("tools/console/console", '#!/bin/sh\necho "console $@" >>asked\n'
                  'while [ "$1" != -- ]; do shift; done; shift; "$@"\n')
        self.stub("devkit/router/box", '#!/bin/sh\n[ "$1" != models ] || echo finch\necho "$@" >>asked\n')

    def stub(self, name, text):
        file = self.folder / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="ascii")
        file.chmod(0o755)

    def start(self, *arguments):
        return subprocess.Popen([self.folder / "run", "--model=finch", *arguments], text=True, stderr=subprocess.PIPE,
                                stdout=subprocess.DEVNULL,
                                env=os.environ | {"PATH": f"{self.folder}/bin:{os.environ['PATH']}"})

    def asked(self, word):
        lines = (self.folder / "asked").read_text(encoding="ascii").splitlines()
        return [line for line in lines if line.startswith(word)]

    def test_starts_side_by_side_build_one_after_the_other(self):
        starts = [self.start("--port=0", f"--state=s{number}") for number in range(5)]
        for start in starts:
            errors = start.communicate(timeout=PATIENCE)[1]
            self.assertEqual(start.returncode, 0, errors)
        self.assertEqual(len(self.asked("run --model finch --port 0")), 5)
        self.assertEqual(len(self.asked("console --port 0 --state ")), 5)

    def test_the_console_and_none(self):
        self.assertEqual(self.start("--console-port=9001").wait(PATIENCE), 0)
        self.assertEqual(self.asked("console")[0].split()[:3], ["console", "--port", "9001"])
        self.assertIn("--console-port 9001", self.asked("check")[0])
        (self.folder / "asked").unlink()
        self.assertEqual(self.start("--no-console", "--port=0").wait(PATIENCE), 0)
        self.assertEqual((self.asked("console"), len(self.asked("run --model finch --port 0"))), ([], 1))

    def test_what_cannot_start_is_not_built(self):
        self.stub("devkit/router/box", '#!/bin/sh\n[ "$1" = models ] && echo finch || { echo taken >&2; exit 1; }\n')
        start = self.start()
        self.assertEqual((start.communicate(timeout=PATIENCE)[1], start.returncode), ("taken\n", 1))
        self.assertFalse((self.folder / "build").exists())

    def test_a_build_that_waits_says_so(self):
        (self.folder / "build").mkdir()
        with open(self.folder / "build/lock", "wb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            start = self.start()
            self.assertIn("Waiting for the build", start.stderr.readline())
        start.communicate(timeout=PATIENCE)
        self.assertEqual(start.returncode, 0)


if __name__ == "__main__":
    unittest.main()
