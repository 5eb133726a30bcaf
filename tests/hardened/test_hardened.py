# SPDX-License-Identifier: Apache-2.0
"""A hardened build refuses what a shell would interpret, keeps secrets out of the log, and changes nothing else."""
import difflib
import json
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

RECORDED = Path(__file__).resolve().parent.parent / "recorded/cases"
VARIANTS = RECORDED.parent / "variants"
PLAYER, PLUGIN, HARDENED = (os.environ[name] for name in ("PLAYER", "PLUGIN", "HARDENED"))

# The recorded cases in which a value is meant for the shell, with the key that is refused there.
REFUSED = {
    "batch/set/reboot_needs_exactly_1": "reboot_flag",
    "batch/wan/reboot_flag_text_goes_into_the_command_as_it_is": "reboot_flag",
    "whiteboard/customer/values_unchanged": "image_url",
    "whiteboard/tail/reboot_values": "reboot_flag",
}


def in_full(cases, folder):
    """The cases, where one is a variant of another one or the base of variants a file with all of it."""
    listed = "".join(f"{case}\n" for case in cases)
    return subprocess.run([VARIANTS, "expand-into", folder], check=True, input=listed, capture_output=True,
                          text=True).stdout.splitlines()


def play(plugin, cases, folder):
    """What the player prints of each case."""
    folder.mkdir()
    statuses = subprocess.run([PLAYER, plugin, "--into", folder, *cases], check=True, capture_output=True, text=True,
                              stdin=subprocess.DEVNULL).stdout.split()
    assert statuses == ["0"] * len(cases), statuses
    return [(folder / str(number)).read_text(encoding="utf-8") for number in range(1, len(cases) + 1)]


def masked(value):
    if isinstance(value, dict):
        return {key: "***" if key.endswith(("key", "password")) else masked(member) for key, member in value.items()}
    return [masked(element) for element in value] if isinstance(value, list) else value


def is_masked_log(plain, hardened):
    """Whether two lines log the same object, in the second without its secrets."""
    for name in ("input", "set input", "output"):
        start = f"log info {name}="
        if plain.startswith(start) and hardened.startswith(start):
            first, second = (line.removeprefix(start).removesuffix(r"\n") for line in (plain, hardened))
            return masked(read_logged(first)) == read_logged(second)
    return False


def read_logged(text):
    """The object of a logged line; the player doubles backslashes and shows bytes that are not UTF-8 as escapes."""
    return json.loads(text.replace("\\\\", "\\").replace("\\x", "\\\\x"))


class RecordedCases(unittest.TestCase):
    def test_nothing_else_changes(self):
        cases = sorted(RECORDED.rglob("*.case"))
        changed = set()
        with tempfile.TemporaryDirectory() as folder:
            full = in_full(cases, folder)
            plain, hardened = (play(plugin, full, Path(folder) / name)
                               for name, plugin in (("plain", PLUGIN), ("hardened", HARDENED)))
        for case, before, after in zip(cases, plain, hardened):
            name = str(case.relative_to(RECORDED).with_suffix(""))
            differing = self.differing(before, after)
            changed |= {name} if differing else set()
            with self.subTest(case=name):
                for old, new in differing:
                    self.assertTrue(is_masked_log(old, new) or self.is_refusal(name, old, new), f"{old}\n{new}")
        self.assertGreater(len(changed), 50, "the two builds should differ in every case that logs a secret")
        self.assertLessEqual(REFUSED.keys(), changed)

    def differing(self, before, after):
        """Pairs of lines that differ, one of them empty where the other text has none."""
        first, second = before.splitlines(), after.splitlines()
        for kind, i, j, k, l in difflib.SequenceMatcher(None, first, second, autojunk=False).get_opcodes():
            if kind != "equal":
                pad = max(j - i, l - k)
                yield from zip(first[i:j] + [""] * (pad - j + i), second[k:l] + [""] * (pad - l + k))

    def is_refusal(self, name, old, new):
        key = REFUSED.get(name)
        return new == rf"log info value refused, key = {key}\n" or (old.startswith(f"  | {key}=") and not new)


class Characters(unittest.TestCase):
    """Every character: what is accepted is what a real shell takes as it stands."""

    def test_every_byte(self):
        accepted = {code for code in range(1, 256) if code not in (0x0d,) and self.is_accepted(code)}
        for code in accepted:
            word = b"a" + bytes([code]) + b"b"
            for line in (b'printf %s "' + word + b'"', b"set -- " + word + b"; printf %s \"$1$2\""):
                with self.subTest(code=code, line=line):
                    self.assertEqual(subprocess.run(["sh", "-c", line], capture_output=True, check=True,
                                                    cwd="/var/empty" if Path("/var/empty").is_dir() else "/").stdout,
                                     word)
        self.assertEqual({chr(code) for code in range(1, 127) if code in accepted},
                         set("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_./:=@%+,-~#"))
        self.assertTrue(set(range(128, 256)) <= accepted)

    def is_accepted(self, code):
        with tempfile.TemporaryDirectory() as folder:
            case = Path(folder) / "character.case"
            escaped = f"\\u{code:04x}" if code < 128 else f"\\x{code:02x}"
            case.write_text("# Purpose: one character.\n\n"
                            f'[call batch_set_common]\n{{"reboot_flag": "a{escaped}b"}}\n', encoding="ascii")
            outcome = subprocess.run([PLAYER, HARDENED, case], check=True, capture_output=True).stdout
        refused = b"value refused, key = reboot_flag" in outcome
        self.assertNotEqual(refused, b"system echo \"a" in outcome, outcome)
        return not refused
