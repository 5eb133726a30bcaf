# SPDX-License-Identifier: Apache-2.0
"""Other builds of the plug-in, and files that are none: --plugin of the commands."""
import os
import random
import subprocess
import tempfile
import unittest
from pathlib import Path

import json_schema
from plugin import Plugin
from routes import OF_A_MODEL
from test_random import SEED, Check, value
from vocabulary import is_accepted, settings

AEROLINK = os.environ["AEROLINK"]
SHIPPED, HARDENED = os.environ["PLUGIN"], os.environ["HARDENED"]
COMMANDS = (["describe"], ["schema", "--model", "heron"], ["schema", "--route", "/cloud/aerolink/set"], ["openapi"],
            ["keys"], ["keys", "--model", "heron"], ["generate", "--check"], ["plan", "--model", "heron", "{}"],
            ["export", "--model", "heron"])


def run(command, plugin, **options):
    return subprocess.run([AEROLINK, *command, "--plugin", plugin], capture_output=True, text=True, timeout=60,
                          check=False, **options)


class Refused(unittest.TestCase):
    def check(self, file, reason, commands=(["describe"], ["plan", "--model", "heron", "{}"])):
        for command in commands:
            with self.subTest(command=command, file=str(file)):
                done = run(command, file)
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                said = f"{file} cannot be used as the plug-in: (?:{reason})"
                self.assertRegex(done.stderr, rf"^aerolink {command[0]}: ({said})\n$")

    def test_what_is_no_plugin(self):
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            (folder / "text").write_text("no library\n" * 100, encoding="ascii")
            (folder / "empty").touch()
            shipped = Path(SHIPPED).read_bytes()
            self.check(folder / "missing.so", "cannot open shared object file: No such file or directory", COMMANDS)
            self.check(folder / "text", "invalid ELF header")
            self.check(folder / "empty", "file too short")
            for size in (16, 64, 100, 5000, 40_000):
                (folder / "part").write_bytes(shipped[:size])
                self.check(folder / "part", "it is not whole|file too short")
            self.check(folder, ".*[Dd]irectory")
        self.check(AEROLINK, "cannot dynamically load .*executable")

    def test_without_a_name(self):
        for command in (["describe"], ["schema", "--model", "heron"], ["plan", "--model", "heron", "{}"]):
            with self.subTest(command=command):
                done = run(command, "")
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertEqual(done.stderr, f"aerolink {command[0]}: --plugin is empty\n")

    def test_other_plugins(self):
        self.check(os.environ["COMPANION"], "undefined symbol: batch_status")
        self.check(os.environ["OLDER"], "batch_list1 has 47 rows, not 48: it is of another version")
        self.check(os.environ["WITHOUT_ROUTES"], "it does not export get_api_entity and regex_exe")


class Taken(unittest.TestCase):
    def test_from_the_folder_that_it_is_in(self):
        path = Path(SHIPPED)
        self.assertEqual(run(["describe"], path.name, cwd=path.parent).stdout, run(["describe"], path).stdout)

    def test_another_build_is_what_is_asked(self):
        """The schemas of the hardened build say what it refuses, and are otherwise the same."""
        shipped, hardened = Plugin(["--plugin", SHIPPED]), Plugin(["--plugin", HARDENED])
        differing = set()
        for route in OF_A_MODEL:
            schemas = [json_schema.request_schema(each.meanings, "heron", route, settings(each, "heron", route))
                       ["properties"] for each in (shipped, hardened)]
            differing |= {key for key in schemas[0] if schemas[0][key] != schemas[1].get(key)}
            self.assertEqual(list(schemas[0]), list(schemas[1]))
            self.compare(hardened, route, schemas[1])
        self.assertEqual(differing, {"reboot_flag", "image_url"})

    def compare(self, plugin, route, properties):
        chance = random.Random(SEED)
        for key in ("reboot_flag", "image_url"):
            if key not in properties:
                continue
            check = Check(properties[key])
            texts = [value(chance, properties[key]) for _ in range(100)]
            plans = plugin.rehearse([(plugin.filled("heron"), route, {key: text}) for text in texts])
            for text, plan in zip(texts, plans):
                accepted = is_accepted(plan, key)
                with self.subTest(route=route, key=key, text=text):
                    if check.accepts(text):
                        self.assertTrue(accepted)
                    if accepted and text.isascii():
                        self.assertTrue(check.accepts(text))


if __name__ == "__main__":
    unittest.main()
