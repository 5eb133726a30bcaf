# SPDX-License-Identifier: Apache-2.0
"""The router's time-zone table, made from this machine's time-zone data."""
from pathlib import Path

ZONEINFO = Path("/usr/share/zoneinfo")
ZONE_LISTS = ("zone.tab", "zone1970.tab")


def zone_names():
    names = {"UTC"}
    for zone_list in ZONE_LISTS:
        for line in (ZONEINFO / zone_list).read_text(encoding="utf-8").splitlines():
            if not line.startswith("#"):
                names.add(line.split("\t")[2])
    return names


def posix_rule(name):
    """The zone's rule in POSIX form: the last line of its TZif file."""
    return (ZONEINFO / name).read_bytes().rstrip(b"\n").rsplit(b"\n", 1)[1].decode()


def write_table(path):
    """One line a zone; a name within another comes first, since readers take the first line that holds it."""
    names = sorted(zone_names(), key=lambda name: (len(name), name))
    lines = [f"\t{{ '{name}', '{posix_rule(name)}' }},\n" for name in names]
    path.write_text("TZ = {\n" + "".join(lines) + "}\n", encoding="ascii")
