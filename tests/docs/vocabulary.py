# SPDX-License-Identifier: Apache-2.0
"""Writes the batch vocabulary of docs/batch.md from the tables of the loaded plug-in.

usage: PLAYER=PLAYER PLUGIN=PLUGIN python3 vocabulary.py DOCUMENT    rewrites the generated part of the document
"""
import sys
from pathlib import Path

from player import ask

BEGIN = "<!-- Generated from the plug-in's tables by tests/docs/vocabulary.py. -->\n"
END = "<!-- End of the generated part. -->\n"

COMMON = "batch_list_common"
# The tables as the document calls them.
TITLES = {
    "batch_list_ardea": "ardea",
    "batch_list_mt76x8": "MT76x8",
    "batch_list_mt7615": "MT7615",
    "batch_list_finch": "finch",
    "batch_list2": "one radio",
    "batch_list1": "two radios",
    "batch_list_wbf1": "white-label one radio",
    "batch_list_wbf": "white-label two radios",
}
WHITE_LABEL = ("batch_list_wbf1", "batch_list_wbf")

ADDRESS = r"(25[0-5]|2[0-4]\d|[0-1]\d{2}|[1-9]?\d)"
# What the document says in words. A pattern that is not here needs new words there.
CHECKS = {
    "-": "",
    "^.{1,32}$": "ssid",
    "^.{8,63}$": "key",
    r"^((https|http|ftp|rtsp|mms)?:\/\/)[^\s]+": "url",
    r"\.".join([ADDRESS] * 4): "ipv4",
}


class Vocabulary:
    def __init__(self, lines):
        self.paths = {}   # table: key: its options, in row order
        self.checks = {}  # table: key: check
        for line in lines:
            if line.startswith("batch_list"):
                table = line
                self.paths[table], self.checks[table] = {}, {}
                continue
            _, path, key, pattern = line.replace("\\\\", "\\").split(" ", 3)
            self.paths[table].setdefault(key, []).append(path)
            self.checks[table][key] = CHECKS[pattern]
        if set(self.paths) != {COMMON, *TITLES}:
            raise ValueError(f"the plug-in has other tables: {sorted(self.paths)}")

    def keys(self):
        """Every key once: the common ones, then the largest tables' order."""
        in_order = [COMMON, "batch_list1", "batch_list_ardea", *TITLES]
        return list(dict.fromkeys(key for table in in_order for key in self.paths[table]))

    def tables_of(self, key):
        return [table for table in TITLES if key in self.paths[table]]

    def differs(self, key):
        """Whether the option depends on the table."""
        return len({tuple(self.paths[table][key]) for table in self.tables_of(key)}) > 1

    def check(self, key):
        by_check = {}
        for table in self.tables_of(key):
            by_check.setdefault(self.checks[table][key], []).append(table)
        if len(by_check) < 2:
            return "".join(by_check)
        return "; ".join(f"{check} ({titles(tables)})" for check, tables in by_check.items() if check)

    def place(self, key):
        if key in self.paths[COMMON]:
            return "all"
        tables = self.tables_of(key)
        missing = [table for table in TITLES if table not in tables]
        if len(missing) < len(tables):
            return f"all but {titles(missing)}" if missing else "all"
        return titles(tables)

    def option(self, key):
        table = COMMON if key in self.paths[COMMON] else self.tables_of(key)[0]
        return code(self.paths[table][key])


def titles(tables):
    if set(WHITE_LABEL) <= set(tables):
        names = [TITLES[table] for table in tables if table not in WHITE_LABEL] + ["white-label"]
    else:
        names = [TITLES[table] for table in tables]
    return ", ".join(names)


def code(texts):
    return ", ".join(f"`{text}`" for text in texts)


def markdown_table(header, rows):
    lines = [header, *rows]
    text = ["|" + "|".join(f" {cell} " if cell else " " for cell in line) + "|\n" for line in lines]
    return text[0] + "|---" * len(header) + "|\n" + "".join(text[1:])


def radio_table(vocabulary):
    keys = [key for key in vocabulary.keys() if vocabulary.differs(key)]
    columns = {}  # options of the keys: the tables that have just these
    for table in TITLES:
        options = tuple(code(path.removeprefix("wireless.") for path in vocabulary.paths[table].get(key, []))
                        for key in keys)
        columns.setdefault(options, []).append(table)
    rows = [[f'"{key}"', *(options[index] for options in columns), vocabulary.check(key)]
            for index, key in enumerate(keys)]
    return markdown_table(["key", *map(titles, columns.values()), "check"], rows)


def general_table(vocabulary):
    rows = [[f'"{key}"', vocabulary.option(key), vocabulary.place(key), vocabulary.check(key)]
            for key in vocabulary.keys() if not vocabulary.differs(key)]
    return markdown_table(["key", "option", "tables", "check"], rows)


def generate():
    vocabulary = Vocabulary(ask("tables"))
    return ("\nOptions of the package `wireless` that depend on the radios:\n\n" + radio_table(vocabulary) +
            "\nOptions that are the same wherever they exist:\n\n" + general_table(vocabulary) + "\n")


def split(document):
    """The document before, in and after the generated part."""
    before, begin, rest = document.partition(BEGIN)
    generated, end, after = rest.partition(END)
    if not begin or not end:
        raise ValueError("the document has no generated part")
    return before + begin, generated, end + after


if __name__ == "__main__":
    path = Path(sys.argv[1])
    head, _, tail = split(path.read_text(encoding="utf-8"))
    path.write_text(head + generate() + tail, encoding="utf-8")
