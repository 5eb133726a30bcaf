# SPDX-License-Identifier: Apache-2.0
"""Clients that are generated from the document and from a schema push to a router in a box."""
import json
import subprocess
import sys
import unittest

import npm
from openapi_document import FILE, TREE
from router import Router

# The pass phrase is too short, the rest applies.
ANSWER = [200, 0, {"2g_key": "set false"}]


class Clients(unittest.TestCase):
    def setUp(self):
        self.folder = npm.installed("clients")
        self.router = Router("heron")
        self.addCleanup(self.router.stop)

    def check_effect(self):
        self.assertEqual(self.router.shell("uci get wireless.@wifi-iface[0].ssid").strip(), "Typed")
        self.assertEqual(self.router.shell("uci get network.lan.ipaddr").strip(), "192.168.70.1")

    def test_in_typescript(self):
        npm.run(self.folder, "node_modules/openapi-typescript/bin/cli.js", FILE, "-o", "openapi.d.ts")
        npm.run(self.folder, "node_modules/typescript/bin/tsc", "--strict", "--target", "es2022", "--module",
                "nodenext", "--lib", "es2022,dom", "client.ts")
        self.assertEqual(json.loads(npm.run(self.folder, "client.js", self.router.url)), ANSWER)
        self.check_effect()

    def test_in_python(self):
        types = npm.run(self.folder, "generate.mjs", TREE / "schema/heron.batch_set.json", "Push")
        (self.folder / "push.py").write_text(types, encoding="utf-8")
        done = subprocess.run([sys.executable, self.folder / "client.py", self.router.url], capture_output=True,
                              text=True, check=False)
        self.assertEqual(done.stderr, "")
        self.assertEqual(json.loads(done.stdout), ANSWER)
        self.check_effect()


if __name__ == "__main__":
    unittest.main()
