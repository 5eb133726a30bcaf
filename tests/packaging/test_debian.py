# SPDX-License-Identifier: Apache-2.0
"""The Debian package of the kit's tools: what is in it, what it depends on, and that it works from where it is unpacked."""
import ast
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

BUILD = os.environ["BUILD"]
PACKAGE_OF = {"dask": "python3-distributed", "cloudpickle": "python3-distributed"}  # it depends on both


def run(*command, **options):
    return subprocess.run([str(word) for word in command], check=True, capture_output=True, text=True, **options).stdout


class Package(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="package-")))
        run("cpack", "-G", "DEB", "--config", f"{BUILD}/CPackConfig.cmake", "-B", folder, cwd=BUILD)
        [cls.package] = folder.glob("aerolink-kit_*.deb")
        cls.root = folder / "root"
        run("dpkg-deb", "-x", cls.package, cls.root)
        cls.aerolink = cls.root / "usr/bin/aerolink"

    def field(self, name):
        return run("dpkg-deb", "-f", self.package, name).strip()

    def test_runs_from_where_it_is(self):
        plans = [json.loads(line) for line in run(self.aerolink, "plan", "--json", '{"2g_key": "short"}').splitlines()]
        self.assertGreater(len(plans), 20)
        self.assertEqual({plan["keys"][0]["outcome"] for plan in plans}, {"refused"})

    def test_every_command_answers(self):
        words = re.findall(r"^  ([a-z-]+)  ", run(self.aerolink, "help"), re.MULTILINE)
        self.assertLessEqual({"plan", "check", "export", "snapshot"}, set(words))
        for word in set(words) - {"help"}:
            with self.subTest(word):
                self.assertIn("usage", run(self.aerolink, word, "--help").lower())

    def test_prints_the_document_that_it_has(self):
        kept = (self.root / "usr/share/aerolink/schema/openapi.yaml").read_text(encoding="utf-8")
        self.assertIn("examples:", kept)
        self.assertEqual(run(self.aerolink, "openapi"), kept)

    def test_depends_on_what_its_python_imports(self):
        """Every module that is neither Python's own nor in the package is of a package that is named to the user."""
        files = [path for path in (self.root / "usr/libexec/aerolink").rglob("*")
                 if path.is_file() and (path.suffix == ".py" or path.read_bytes().startswith(b"#!/usr/bin/env python3"))]
        own = {path.stem for path in files}
        imported = set()
        for path in files:
            for node in ast.walk(ast.parse(path.read_text(encoding="utf-8"))):
                if isinstance(node, ast.Import):
                    imported |= {name.name.split(".")[0] for name in node.names}
                elif isinstance(node, ast.ImportFrom):
                    imported.add(node.module.split(".")[0])
        foreign = {PACKAGE_OF.get(name, f"python3-{name}") for name in imported - own - sys.stdlib_module_names}
        self.assertIn("python3-yaml", foreign)
        named = self.field("Depends") + ", " + self.field("Suggests")
        self.assertLessEqual(foreign, set(re.findall(r"[a-z][a-z0-9.+-]+", named)))
        self.assertIn("python3-yaml", self.field("Depends"))  # a cluster is a wish, a document is not

    def test_depends_on_what_its_programs_load(self):
        """Every library of the system that a program of it needs belongs to a package that it depends on."""
        declared = set(re.findall(r"[a-z][a-z0-9.+-]+(?= |,|$)", re.sub(r"\([^)]*\)", "", self.field("Depends"))))
        for program in (self.aerolink, *self.root.rglob("*.so")):
            paths = dict(re.findall(r"(\S+) => (/(?:usr/)?lib\S+)", run("ldd", program)))
            needed = re.findall(r"\(NEEDED\).*\[(.*)\]", run("readelf", "--wide", "--dynamic", program))
            for library in (paths[name] for name in needed if name in paths):
                found = subprocess.run(["dpkg", "-S", library, library.removeprefix("/usr"), f"/usr{library}"],
                                       capture_output=True, text=True, check=False).stdout
                owners = {line.split(":")[0] for line in found.splitlines()}
                with self.subTest(program=program.name, library=library):
                    self.assertTrue(owners & declared, f"{owners} not in {declared}")

    def test_version_is_the_trees(self):
        self.assertEqual(f"aerolink {self.field('Version')}\n", run(self.aerolink, "--version"))

    def test_nothing_of_the_tree_is_named(self):
        for path in self.root.rglob("*"):
            if path.is_file():
                self.assertNotIn(str(Path(BUILD).parent).encode(), path.read_bytes(), path)

    def test_manual_page(self):
        page = self.root / "usr/share/man/man1/aerolink.1"
        subprocess.run(["mandoc", "-T", "lint", "-W", "warning", page], check=True)
        text = run("mandoc", "-T", "ascii", page)
        text = re.sub(r".\x08", "", text)
        for command in ("plan", "check", "export", "snapshot"):
            for option in re.findall(r"^  (--[a-z-]+)", run(self.aerolink, command, "--help"), re.MULTILINE):
                self.assertIn(option, text)

    def test_completion(self):
        def completed(*words):
            script = f"""PATH={self.aerolink.parent}:$PATH
                . {self.root}/usr/share/bash-completion/completions/aerolink
                COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _aerolink; printf '%s\\n' "${{COMPREPLY[@]}}" """
            return run("bash", "-c", script, "bash", *words).split()

        self.assertEqual(completed("aerolink", "sna"), ["snapshot"])
        self.assertEqual(completed("aerolink", "plan", "--model", "plo"), ["plover", "plover-v2"])
        self.assertIn("--all-models", completed("aerolink", "plan", "--"))
        self.assertEqual(completed("aerolink", "check", "--route", "set_"), ["set_config"])


if __name__ == "__main__":
    unittest.main()
