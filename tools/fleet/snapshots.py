# SPDX-License-Identifier: Apache-2.0
"""Reads the files of a fleet, plain or packed by gzip or zstd, and cuts them into chunks of whole lines."""
import contextlib
import os
import select
import shutil
import stat
import subprocess
import tempfile
import threading
from typing import NamedTuple

FIRST_CHUNK = 1 << 17  # bytes; each chunk is twice as large as the one before, so that a small fleet is shared out too
LARGEST_CHUNK = 1 << 21
# The rest of a longer line is dropped: what is left is too long for the planner all the same.
LONGEST_LINE = (1 << 23) + 1
BLOCK = 1 << 18
PATIENCE = 0.2  # seconds between looks at whether to stop
UNPACKERS = ((b"\x1f\x8b", "gzip"), (b"\x28\xb5\x2f\xfd", "zstd"))


class Unreadable(Exception):
    """A file of the fleet, or what is left of it, cannot be read."""


class Chunk(NamedTuple):
    name: str         # of the file
    line: int         # of its first line there, from 1
    first: int        # number of its first line in all files, from 0
    text: bytes       # whole lines
    read: int         # bytes of all files up to its end, as they lie on the disk; means nothing when one is a pipe


class Fleet:
    """The files of a fleet. They are opened when it is made, so that a name that is wrong is found at once."""

    def __init__(self, names):
        self.sources = [Source(name) for name in names]

    def size(self):
        """Bytes of all files as they lie on the disk, or None when one is a pipe."""
        sizes = [source.size for source in self.sources]
        return None if None in sizes else sum(sizes)

    def chunks(self, is_stopped):
        """Yields the chunks in order until the input ends or is_stopped() says so."""
        first = before = 0
        target = FIRST_CHUNK
        for source in self.sources:
            line = 1
            for text in whole_lines(source.blocks(is_stopped), lambda: target):
                if is_stopped():  # what came last may be half a line
                    return
                lines = text.count(b"\n")
                yield Chunk(source.name, line, first, text, before + (source.read() if source.size else 0))
                first += lines
                line += lines
                target = min(2 * target, LARGEST_CHUNK)
            before += source.size or 0


class Source:
    """A file, or the standard input under the name "-"."""

    def __init__(self, name):
        self.name = "standard input" if name == "-" else name
        try:
            self.file = os.dup(0) if name == "-" else os.open(name, os.O_RDONLY | os.O_CLOEXEC)
            status = os.fstat(self.file)
            os.read(self.file, 0)
        except OSError as failure:
            raise Unreadable(f"{self.name}: {failure.strerror}") from None
        self.identity = (status.st_dev, status.st_ino)
        self.size = status.st_size if stat.S_ISREG(status.st_mode) else None

    def read(self):
        """How far the plain file has been read, by whichever process."""
        return min(self.size, os.lseek(self.file, 0, os.SEEK_CUR))

    def blocks(self, is_stopped):
        """Yields the content, unpacked."""
        head = b""
        for block in blocks_of(self.file, self.name, is_stopped):
            head += block
            if len(head) >= 4:
                break
        unpacker = next((program for magic, program in UNPACKERS if head.startswith(magic)), None)
        if unpacker:
            yield from self.unpacked(unpacker, head, is_stopped)
        else:
            yield head
            yield from blocks_of(self.file, self.name, is_stopped)

    def unpacked(self, program, head, is_stopped):
        with tempfile.TemporaryFile() as complaints, self.started(program, head, complaints) as process:
            try:
                yield from blocks_of(process.stdout.fileno(), self.name, is_stopped)
            finally:
                process.stdout.close()
                status = process.wait()
            complaints.seek(0)
            if status and not is_stopped():
                said = complaints.read(1000).decode(errors="replace").strip().rpartition("\n")[2]
                raise Unreadable(f"{self.name}: {said or f'{program} ends with status {status}'}")

    def started(self, program, head, complaints):
        """The unpacker on the whole file. From a pipe the head has been taken, so it is handed on with the rest."""
        options = {"stdout": subprocess.PIPE, "stderr": complaints, "env": os.environ | {"LC_ALL": "C"}}
        try:
            if self.size is not None:
                os.lseek(self.file, 0, os.SEEK_SET)
                return subprocess.Popen([program, "-dcq"], stdin=self.file, **options)
            process = subprocess.Popen([program, "-dcq"], stdin=subprocess.PIPE, **options)
        except FileNotFoundError:
            raise Unreadable(f"{self.name}: there is no program {program} to unpack it") from None
        threading.Thread(target=hand_on, args=(head, self.file, process.stdin), daemon=True).start()
        return process


def hand_on(head, file, target):
    with contextlib.suppress(OSError), target, open(file, "rb", buffering=0, closefd=False) as rest:
        target.write(head)
        shutil.copyfileobj(rest, target)


def blocks_of(file, name, is_stopped):
    while not is_stopped():
        if not select.select([file], [], [], PATIENCE)[0]:
            continue
        try:
            block = os.read(file, BLOCK)
        except OSError as failure:
            raise Unreadable(f"{name}: {failure.strerror}") from None
        if not block:
            return
        yield block


def whole_lines(blocks, target):
    """Yields texts of whole lines, of about target() bytes. A last line without its end gets one."""
    pieces = []
    size = 0
    for block in shortened(blocks):
        pieces.append(block)
        size += len(block)
        end = block.rfind(b"\n") + 1
        if size >= target() and end:
            pieces[-1] = block[:end]
            yield b"".join(pieces)
            pieces = [block[end:]]
            size = len(pieces[0])
    if size:
        last = b"".join(pieces)
        yield last if last.endswith(b"\n") else last + b"\n"


def shortened(blocks):
    """Passes the blocks on, without what goes beyond the longest line."""
    length = 0  # of the line so far
    for block in blocks:
        if length + len(block) > LONGEST_LINE:
            block = b"\n".join(cut_lines(block, length))
        yield block
        end = block.rfind(b"\n")
        length = len(block) - end - 1 if end >= 0 else length + len(block)


def cut_lines(block, length):
    for line in block.split(b"\n"):
        yield line[:max(0, LONGEST_LINE - length)]
        length = 0
