# SPDX-License-Identifier: Apache-2.0
"""Reads what a footprint needs from an ELF file of any word size and byte order."""

import struct
from collections import namedtuple

Section = namedtuple("Section", "name type flags size entry_size link offset")
Segment = namedtuple("Segment", "type flags address memory_size")

SHF_ALLOC = 2
SHT_DYNAMIC, SHT_NOBITS, SHT_REL, SHT_RELA, SHT_RELR = 6, 8, 9, 4, 19
PT_LOAD, PT_GNU_RELRO, PF_W = 1, 0x6474E552, 2
DT_NULL, DT_NEEDED = 0, 1


class Elf:
    def __init__(self, path):
        with open(path, "rb") as file:
            self.data = file.read()
        if self.data[:4] != b"\x7fELF":
            raise ValueError(f"{path} is no ELF file")
        self.wide = self.data[4] == 2
        self.order = "<" if self.data[5] == 1 else ">"
        self.size = len(self.data)
        header = self._unpack("HHIQQQIHHHHHH" if self.wide else "HHIIIIIHHHHHH", 16)
        self.segments = [self._segment(header[4] + i * header[8]) for i in range(header[9])]
        self.sections = [self._section(header[5] + i * header[10]) for i in range(header[11])]
        names = self.sections[header[12]].offset
        self.sections = [s._replace(name=self._text(names + s.name)) for s in self.sections]

    def needed(self):
        """The names of the libraries that the loader must find."""
        table = next(section for section in self.sections if section.type == SHT_DYNAMIC)
        names = self.sections[table.link].offset
        found = []
        for offset in range(table.offset, table.offset + table.size, table.entry_size):
            tag, value = self._unpack("QQ" if self.wide else "II", offset)
            if tag == DT_NULL:
                break
            if tag == DT_NEEDED:
                found.append(self._text(names + value))
        return found

    def relocations(self):
        """How many addresses the loader has to fill in."""
        return sum(self._count(section) for section in self.sections)

    def writable(self):
        """Bytes of memory that stay writable once the loader is done."""
        relro = sum(s.memory_size for s in self.segments if s.type == PT_GNU_RELRO)
        return sum(s.memory_size for s in self.segments if s.type == PT_LOAD and s.flags & PF_W) - relro

    def _count(self, section):
        if section.type in (SHT_REL, SHT_RELA):
            return section.size // section.entry_size
        if section.type != SHT_RELR:
            return 0
        # An even word is the address of one relocation, an odd one a bit for each of the words behind it.
        step, code = (8, "Q") if self.wide else (4, "I")
        words = (self._unpack(code, section.offset + at)[0] for at in range(0, section.size, step))
        return sum((word >> 1).bit_count() if word & 1 else 1 for word in words)

    def _segment(self, at):
        if self.wide:
            kind, flags, _, address, _, _, memory_size, _ = self._unpack("IIQQQQQQ", at)
        else:
            kind, _, address, _, _, memory_size, flags, _ = self._unpack("IIIIIIII", at)
        return Segment(kind, flags, address, memory_size)

    def _section(self, at):
        fields = self._unpack("IIQQQQIIQQ" if self.wide else "IIIIIIIIII", at)
        name, kind, flags, _, offset, size, link, _, _, entry_size = fields
        return Section(name, kind, flags, size, entry_size, link, offset)

    def _unpack(self, layout, at):
        return struct.unpack_from(self.order + layout, self.data, at)

    def _text(self, at):
        return self.data[at : self.data.index(b"\0", at)].decode()
