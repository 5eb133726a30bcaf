# SPDX-License-Identifier: Apache-2.0
"""Whether the check of the exported interface sees a change: the plug-in against altered descriptions of it.

The plug-in comes from the environment. The description is the changed side here, which shows as much.
"""
import os
import subprocess
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

FOLDER = Path(__file__).resolve().parent


def check(description):
    """Status and output of the comparison with a description."""
    with tempfile.NamedTemporaryFile(suffix=".abi") as file:
        description.write(file.name)
        done = subprocess.run([FOLDER / "abi", "check", os.environ["PLUGIN"], file.name], text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return done.returncode, done.stdout


class Changes(unittest.TestCase):
    def setUp(self):
        self.description = ElementTree.parse(FOLDER / "aerolink.abi")

    def find(self, path):
        found = self.description.find(f".//{path}")
        self.assertIsNotNone(found, path)
        return found

    def pointer_to(self, type_name):
        target = self.find(f"type-decl[@name='{type_name}']").get("id")
        return self.find(f"pointer-type-def[@type-id='{target}']").get("id")

    def remove(self, *paths):
        for path in paths:
            self.find(f"{path}/..").remove(self.find(path))

    def assert_seen(self, *words):
        status, output = check(self.description)
        self.assertEqual(status, 1, output)
        for word in words:
            self.assertIn(word, output)

    def test_none(self):
        self.assertEqual(check(self.description)[0], 0)

    def test_size_of_an_array(self):
        table = self.find("var-decl[@name='batch_list1']").get("type-id")
        array = self.find(f"array-type-def[@id='{table}']")
        rows = array.find("subrange")
        row_size = int(array.get("size-in-bits")) // int(rows.get("length"))
        rows.set("length", "47")
        array.set("size-in-bits", str(47 * row_size))
        self.assert_seen("batch_list1", "47", "48")

    def test_name_of_a_member(self):
        self.find("var-decl[@name='json_key']").set("name", "key")
        self.assert_seen("batch_entry", "json_key")

    def test_return_type(self):
        wide = self.find("type-decl[@name='unsigned long int']").get("id")
        self.find("function-decl[@name='regex_exe']/return").set("type-id", wide)
        self.assert_seen("regex_exe", "return type changed")

    def test_parameter_that_is_no_longer_constant(self):
        self.find("function-decl[@name='batch_set_pwd']/parameter").set("type-id", self.pointer_to("char"))
        self.assert_seen("batch_set_pwd", "const char")

    def test_missing_parameter(self):
        self.remove("function-decl[@name='batch_set_pwd']/parameter")
        self.assert_seen("batch_set_pwd", "was added")

    def test_new_variable(self):
        self.remove("elf-symbol[@name='batch_status']", "var-decl[@name='batch_status']")
        self.assert_seen("1 Added", "batch_status")

    def test_new_function(self):
        self.remove("elf-symbol[@name='batch_set_pwd']", "function-decl[@name='batch_set_pwd']")
        self.assert_seen("1 Added", "batch_set_pwd")

    def test_missing_function(self):
        gone = ElementTree.SubElement(self.find("elf-function-symbols"), "elf-symbol")
        gone.attrib.update(self.find("elf-symbol[@name='batch_set_pwd']").attrib, name="gone")
        self.assert_seen("1 Removed", "gone")


class Uncomparable(unittest.TestCase):
    """Is an error, and never passes for a difference."""

    def test_description_that_is_none(self):
        status, output = check(ElementTree.ElementTree(ElementTree.Element("nonsense")))
        self.assertEqual(status, 2, output)

    def test_plug_in_without_debug_information(self):
        with tempfile.TemporaryDirectory() as folder:
            stripped = Path(folder) / "aerolink.so"
            subprocess.run(["strip", "-o", stripped, os.environ["PLUGIN"]], check=True)
            done = subprocess.run([FOLDER / "abi", "check", stripped], capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, 2)
        self.assertIn("no debug information", done.stderr)


if __name__ == "__main__":
    unittest.main()
