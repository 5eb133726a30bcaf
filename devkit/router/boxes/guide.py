# SPDX-License-Identifier: Apache-2.0
"""What the user of a box sees."""
import shlex


class Follower:
    """Prints what is added to a file, which may be replaced by a new one."""

    def __init__(self, path, prefix):
        self.path = path
        self.prefix = prefix
        self.file = None
        if path.exists():
            self.file = path.open("rb")
            self.file.seek(0, 2)

    def show(self):
        while self.file is not None or self.path.exists():
            if self.file is None:
                self.file = self.path.open("rb")
            self.print_new_lines()
            if self.path.exists() and self.path.samefile(f"/proc/self/fd/{self.file.fileno()}"):
                return
            self.print_new_lines()
            self.file.close()
            self.file = None

    def print_new_lines(self):
        start = self.file.tell()
        lines, end, _ = self.file.read().rpartition(b"\n")
        self.file.seek(start + len(lines) + len(end))
        for line in lines.decode(errors="replace").splitlines():
            print(self.prefix + line, flush=True)


def guide(box, program):
    """What to try first with a running box."""
    look = shlex.join([program, "exec", "--state", str(box.state.folder), "uci show wireless"])
    return f"""
Push settings, read all of them back, ask for the cloud link's state:

  curl -s {box.url}/cloud/aerolink/batch_set -H 'Content-Type: application/json' \\
       -d '{{"2g_ssid": "Harbour Cafe", "lan_ip": "192.168.70.1", "system_timezone": "Europe/Berlin"}}'
  curl -s {box.url}/cloud/aerolink/batch_get
  curl -s {box.url}/cloud/aerolink/get

Look inside:  {look}

The router's journal (what its programs were asked) and its system log, until Ctrl-C:
"""
