# SPDX-License-Identifier: Apache-2.0
"""Whether the OpenAPI document is one, and says what routes and daemon do."""
import os
import tempfile
import unittest
from pathlib import Path
from unittest import mock

import npm
from openapi_document import FILE, Document


class TheDocument(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.document = Document()

    def test_is_valid(self):
        self.assertIn("valid 3.1", npm.run(npm.installed("validator"), "validate.mjs", FILE))

    def test_has_examples_that_validate(self):
        count = 0
        for method, path, operation in self.document.operations():
            media = [("request", operation["requestBody"]["content"]["application/json"])] if method == "post" else []
            media += [(status, self.document.media(operation, status)) for status in operation["responses"]]
            for name, content in media:
                for example, value in content.get("examples", {}).items():
                    count += 1
                    with self.subTest(f"{method} {path} {name} {example}"):
                        self.assertEqual(self.document.errors(value["value"], content["schema"]), [])
        self.assertGreater(count, 30)

    def test_has_an_example_of_every_answer_of_a_route(self):
        for method, path, operation in self.document.operations():
            for status in operation["responses"]:
                schema = self.document.media(operation, status)["schema"]
                if schema != {"$ref": "#/components/schemas/Refusal"}:
                    with self.subTest(f"{method} {path} {status}"):
                        self.assertIn("examples", self.document.media(operation, status))


class Node(unittest.TestCase):
    def test_one_that_is_too_old_is_passed_over(self):
        with tempfile.TemporaryDirectory() as folder:
            old = Path(folder) / "node"
            old.write_text("#!/bin/sh\necho v16.20.2\n", encoding="ascii")
            old.chmod(0o755)
            with mock.patch.dict(os.environ, PATH=folder):
                try:
                    found = npm.environment.__wrapped__()["PATH"].partition(":")[0]
                except AssertionError as problem:
                    self.assertIn(f"{old} is v16.20.2", str(problem))
                else:
                    self.assertEqual(found, "/usr/bin")


if __name__ == "__main__":
    unittest.main()
