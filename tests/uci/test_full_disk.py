# SPDX-License-Identifier: Apache-2.0
"""A full disk, for real: a small file system of its own in a sandbox, once below the changes, once below the files."""
import os
import shutil
import subprocess
import unittest

import kit

SANDBOX = [
    "bwrap", "--unshare-user", "--unshare-pid", "--die-with-parent", "--ro-bind", "/", "/", "--dev", "/dev",
    "--proc", "/proc", "--size", "65536", "--tmpfs", "/tmp", "--size", "65536", "--tmpfs", "/run",
]
# A sandbox that real root starts would keep root's rights over the machine.
DROP_ROOT = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", "--inh-caps=-all"]

START = """
uci() { /mnt/uci -c /tmp/config -t /run/delta "$@"; }
fill() { cat /dev/zero >"$1/fill" 2>/dev/null; }
set -- $(seq 400)
mkdir /tmp/config
printf 'config a x\n\toption y 1\n\toption text "%s"\n' "$*" >/tmp/config/net
"""


class FullDisk(kit.StoreTest):
    def play(self, script):
        folder = self.root / "sandbox"
        folder.mkdir()
        shutil.copy(kit.UCI, folder / "uci")
        shutil.copy(os.environ["UCI_FAULT"], folder / "fault.so")
        for path in (self.root, folder):
            path.chmod(0o755)
        drop = DROP_ROOT if os.getuid() == 0 else []
        done = subprocess.run(
            [*drop, *SANDBOX, "--ro-bind", str(folder), "/mnt", "--", "/bin/sh", "-c", START + script], cwd="/",
            env={"PATH": "/usr/bin:/bin"}, capture_output=True, text=True, timeout=60, check=False)
        return (done.stdout + done.stderr).splitlines()

    def test_changes_on_a_full_disk(self):
        self.assertEqual(self.play("""
            uci set net.x.y=2
            fill /run
            for i in $(seq 1000); do uci set net.x.y="$i $*" 2>/run/fill || break; done
            before=$(cksum </run/delta/net)
            uci set net.x.z="$*"; echo $?
            uci set net.x.z="$*"; echo $?
            [ "$(cksum </run/delta/net)" = "$before" ] && echo untouched
            uci get net.x.z; uci changes | grep -c "^net.x.z"
            last=$(uci get net.x.y); [ "$last" = "$((i - 1)) $*" ] || [ "$last" = 2 ] && echo kept
            uci commit; echo $?; [ "$(uci -t none get net.x.y)" = "$last" ] && echo durable
            uci set net.x.z=3; uci get net.x.z
        """), [
            "1", "1", "untouched", "0", "kept", "0", "durable", "3",
            "uci: I/O error (No space left on device)",
            "uci: I/O error (No space left on device)",
            "uci: Entry not found",
        ])

    def test_commit_on_a_full_disk(self):
        self.assertEqual(self.play("""
            uci set net.x.y=2; uci add_list net.x.l=1; cp /tmp/config/net /run/before
            fill /tmp
            uci commit; echo $?
            uci commit net; echo $?
            cmp /run/before /tmp/config/net && ls -A /tmp/config
            uci get net.x.y; uci changes
            rm /tmp/fill; uci commit; echo $?
            uci -t none get net.x.y; uci -t none get net.x.l; uci changes
        """), [
            "1", "1", "net", "2", "net.x.y='2'", "net.x.l+='1'", "0", "2", "1",
            "uci: I/O error (No space left on device)",
            "uci: I/O error (No space left on device)",
        ])

    def test_commit_is_killed_beside_a_full_delta_folder(self):
        """The delta ends with a page of its disk, so that not a byte can be added to it."""
        if "asan" in kit.UCI:
            self.skipTest("the sanitizer must be loaded first")
        self.assertEqual(self.play("""
            value=$(head -c 4084 /dev/zero | tr '\\0' v)
            uci add_list net.x.l="$value"; stat -c %s /run/delta/net
            cp /tmp/config/net /tmp/file; cp /run/delta/net /tmp/changes
            fill /run
            killed() {
                cp /tmp/file /tmp/config/net; cp /tmp/changes /run/delta/net
                LD_PRELOAD=/mnt/fault.so FAULT_SEEN=/tmp/seen FAULT_CALL=$1 FAULT_ERRNO=0 \\
                    /mnt/uci -c /tmp/config -t /run/delta commit || return 0
                return 1
            }
            items() { uci "$@" get net.x.l | wc -w; }
            {
                call=1
                while killed $call; do
                    [ ! -e /tmp/config/.net.uci-committed ] || echo marked beside
                    items; uci commit; items; items -t none; ls -A /tmp/config; wc -c </run/delta/net
                    call=$((call + 1))
                done | sort | uniq
                items; ls -A /tmp/config
            } 2>/dev/null
        """), ["4096", "0", "1", "marked beside", "net", "1", "net"])

    def test_import_on_a_full_disk(self):
        self.assertEqual(self.play("""
            cp /tmp/config/net /run/before
            fill /tmp
            uci import net </run/before; echo $?
            uci import other </run/before; echo $?
            cmp /run/before /tmp/config/net && ls -A /tmp/config
        """), [
            "1", "1", "net",
            "uci: I/O error (No space left on device)",
            "uci: I/O error (No space left on device)",
        ])

    def test_default_folders(self):
        self.assertEqual(self.play("""
            mkdir /run/etc && cp /tmp/config/net /run/etc
            /mnt/uci -c /run/etc set net.x.y=2 && ls -A /tmp/.uci
        """), ["net"])


if __name__ == "__main__":
    unittest.main()
