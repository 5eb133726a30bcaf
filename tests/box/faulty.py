# SPDX-License-Identifier: Apache-2.0
"""A router whose disks, programs and files a test breaks and mends while it runs."""
import contextlib
import os
import shutil
import subprocess

from powered import PoweredRouter

from boxes.container import PATH, as_box_user  # noqa: E402  powered has named its folder


class FaultyRouter(PoweredRouter):
    def mount(self, script):
        """Runs a shell command that may mount in the router, which no process of its own may."""
        command = ["nsenter", "--target", str(self.first_process()), "--user", "--mount", "--pid",
                   "--preserve-credentials", "--", "/bin/sh", "-ec", script]
        if os.geteuid() == 0:
            command = as_box_user(command)
        done = subprocess.run(command, capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise AssertionError(f"{script}: {done.stderr}")

    @contextlib.contextmanager
    def mounted(self, fault, cure):
        self.mount(fault)
        try:
            yield
        finally:
            self.mount(cure)

    def read_only(self, folder):
        return self.mounted(f"mount -o remount,bind,ro {folder}", f"mount -o remount,bind,rw {folder}")

    def full(self, folder):
        """Puts a small file system with the same files in the folder's place, and leaves no room in it."""
        return self.mounted(f"cp -a {folder} /tmp/full; mount -t tmpfs -o size=256k none {folder}; "
                            f"cp -a /tmp/full/. {folder}; rm -r /tmp/full; "
                            f"dd if=/dev/zero of={folder}/filler bs=256 2>/dev/null || :",
                            f"umount -l {folder}")

    def find(self, program):
        """The file in the router's read-only root that a command of this name runs, seen from out here; else None."""
        image = self.state / "run/image"
        places = [program] if program.startswith("/") else [f"{folder}/{program}" for folder in PATH.split(":")]
        files = (image / place.lstrip("/") for place in places)
        return next((file for file in files if os.path.lexists(file)), None)

    @contextlib.contextmanager
    def replaced(self, program, text):
        """The program is a script with this text meanwhile; without a text there is none."""
        file = self.find(program)
        kept = file.with_name(file.name + ".kept")
        file.rename(kept)
        try:
            if text is not None:
                new = file.with_name(file.name + ".new")
                new.write_text(text, encoding="ascii")
                new.chmod(0o755)
                new.rename(file)
            yield
        finally:
            kept.rename(file)
