# SPDX-License-Identifier: Apache-2.0
"""What a box may use of the machine.

Processes are limited together; memory is limited for each process and for "/tmp", which lies in memory; disk for each
file, by the kernel, and together, by the supervisor's look once a second. A limit on the memory of all processes
together would take a control group, which an ordinary user cannot make: it is not had, for root neither.
"""
import os
import stat

MIB = 1 << 20

PROCESSES = 256
PROCESS_MEMORY = 256 * MIB  # address space
TMP_SIZE = 32 * MIB
FILE_SIZE = 64 * MIB
DISK_SIZE = 256 * MIB       # the router's "/etc", "/var" and "/www"

KIB = 1 << 10
BLOCK = 512  # in which the router's shell counts a file's size


def first_command():
    """The box's first command: takes the limits on and becomes init. They count in the box's own user namespace."""
    return ["/bin/sh", "-c", f"ulimit -u {PROCESSES} && ulimit -v {PROCESS_MEMORY // KIB} && "
                             f"ulimit -f {FILE_SIZE // BLOCK} && exec /sbin/init"]


def disk_use(folders):
    """Bytes in the files of the folders and below."""
    used = 0
    for folder in folders:
        for path, _, names in os.walk(folder):
            for name in names:
                try:
                    facts = os.lstat(os.path.join(path, name))
                except FileNotFoundError:
                    continue
                if stat.S_ISREG(facts.st_mode):
                    used += facts.st_blocks * 512
    return used
