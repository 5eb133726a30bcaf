# SPDX-License-Identifier: Apache-2.0
"""The state folder of one router: its "/etc", "/var" and "/www", and what a running box needs."""
import contextlib
import fcntl
import json
import os
import shutil
import subprocess
from pathlib import Path

import profiles
from boxes.failure import Failure

BOX_USER = 65533  # runs bubblewrap when root starts a box: root in the box must not be root out here


class State:
    """The state folder of one router."""

    def __init__(self, folder):
        self.folder = Path(folder).resolve()
        self.model_file = self.folder / "model"
        self.journal = self.folder / "var/log/journal"
        self.log = self.folder / "var/log/log"
        self.image = self.folder / "run/image"
        self.control = self.folder / "run/control"
        self.boots = self.folder / "run/boots"
        self.console = self.folder / "run/console"
        self.about = self.folder / "run/about"
        self.factory_flag = self.folder / "etc/firstboot"  # the router's wish to be fresh from the factory

    def check(self, model):
        """Refuses a folder that cannot become, or is not, a router of the model."""
        if not self.model_file.exists():
            if self.folder.exists() and not self.folder.is_dir():
                raise Failure(f"{self.folder} is not a folder")
            if self.folder.exists() and any(self.folder.iterdir()):
                raise Failure(f"{self.folder} is neither empty nor a router's state")
            return
        owner = self.model()
        if owner != model:
            raise Failure(f"{self.folder} holds a {owner}, not a {model}")

    def model(self):
        return self.model_file.read_text(encoding="ascii").strip()

    def prepare(self, model, image):
        """Makes the folder ready for a start; a new one becomes a router fresh from the factory."""
        self.check(model)
        self.forget_run()
        (self.folder / "run").mkdir()
        copy_image(image, self.image)
        if not self.model_file.exists():
            self.make_factory_fresh(model)
            self.model_file.write_text(model + "\n", encoding="ascii")
        self.control.mkdir()
        os.mkfifo(self.control / "bell")
        self.boots.touch()
        give_to_box_user(self.folder / "run")

    def forget_run(self):
        """Removes what only a running box needs."""
        shutil.rmtree(self.folder / "run", ignore_errors=True)

    def make_factory_fresh(self, model):
        """Makes "/etc" and "/www" those of a new router; what was recorded under "/var" stays."""
        for name in ("etc", "www"):
            shutil.rmtree(self.folder / name, ignore_errors=True)
        shutil.copytree(self.image / "etc", self.folder / "etc", symlinks=True)
        shutil.rmtree(self.folder / "etc/init.d")
        (self.folder / "etc/init.d").mkdir()
        profiles.write(model, self.folder / "etc")
        shutil.copytree(self.image / "www", self.folder / "www")
        self.journal.parent.mkdir(parents=True, exist_ok=True)
        self.journal.touch()
        for name in ("etc", "var", "www"):
            give_to_box_user(self.folder / name)

    def lock(self):
        """Holds the folder for this process until it ends."""
        self.folder.mkdir(parents=True, exist_ok=True)
        descriptor = os.open(self.folder, os.O_RDONLY)
        try:
            fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
        except BlockingIOError:
            raise Failure(f"{self.folder} is in use by another box") from None

    def is_in_use(self):
        """Whether a box holds the folder."""
        try:
            descriptor = os.open(self.folder, os.O_RDONLY)
        except (FileNotFoundError, NotADirectoryError):
            return False
        try:
            fcntl.flock(descriptor, fcntl.LOCK_SH | fcntl.LOCK_NB)
        except BlockingIOError:
            return True
        finally:
            os.close(descriptor)
        return False

    def describe(self, **facts):
        """Notes what others may know of the running box."""
        self.about.write_text(json.dumps(facts), encoding="utf-8")

    def description(self):
        """What describe noted of the box that runs, None when none does."""
        with contextlib.suppress(OSError, ValueError):
            if self.is_in_use():
                return json.loads(self.about.read_text(encoding="utf-8"))
        return None


def copy_image(image, target):
    """Copies the root file system, which a build beside us may be about to replace."""
    folder = os.open(image.parent, os.O_RDONLY)
    try:
        fcntl.flock(folder, fcntl.LOCK_SH)
        shutil.copytree(image, target, symlinks=True)
    finally:
        os.close(folder)


def give_to_box_user(folder):
    if os.geteuid() == 0:
        subprocess.run(["chown", "-hR", f"{BOX_USER}:{BOX_USER}", folder], check=True)
