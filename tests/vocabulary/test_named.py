# SPDX-License-Identifier: Apache-2.0
"""What people wrote by hand names only routes, keys and options that there are, and repeats no check."""
import json
import re
import subprocess
import unittest

from openapi_document import TREE
from plugin import Plugin

MADE = re.compile(r"<!-- Made by `aerolink generate`: .*?<!-- End of what is made -->", re.DOTALL)
ROUTE = re.compile(r"(?<![a-z])/(?:cloud/aerolink|whiteboard|router)/[a-z_]+\b(?![./])")
QUOTED = re.compile(r'"([a-z0-9]+(?:_[a-z0-9]+)+)"')
OPTION = re.compile(r"`([a-z]+\.@?[a-z0-9_]+(?:\[\d+\])?\.[a-z0-9_]+)`")

# Where the plug-in's own words, the table of keys and texts for the routes stand, and what is not written by hand.
ELSEWHERE = ("plugin/", "batch/", "cloud/", "whiteboard/", "wifi/", "tests/", "schema/", "docs/models/", "docs/images/",
             "tools/vocabulary/keys.cpp", "tools/vocabulary/schema/routes.toml", "devkit/router/profiles/")
NO_ROUTES = {"/cloud/aerolink/reset": "an example of a path that does not exist",
             "/router/unbind": "what the message to the cloud says"}
NO_KEYS = {"lan_address_changed": "a condition of aerolink fleet", "reboot_pending": "a member of snapshots"}


def files():
    """Those of the tree; of an archive, which is no work tree, all but what a build and a router leave."""
    listed = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=TREE,
                            capture_output=True, text=True, check=False)
    if listed.returncode == 0:
        return listed.stdout.splitlines()
    return [path.relative_to(TREE).as_posix() for path in TREE.rglob("*")
            if path.relative_to(TREE).parts[0] not in ("build", "state")]


def texts(folder=""):
    """(path, text) of the tree's files that people wrote, without what is made in them."""
    for path in files():
        if path.startswith(folder) and not path.startswith(ELSEWHERE) and (TREE / path).is_file():
            data = (TREE / path).read_bytes()
            if b"\0" not in data:
                yield path, MADE.sub("", data.decode("utf-8", "replace"))


def prose(text):
    return re.sub(r"```.*?```", "", text, flags=re.DOTALL)


class Named(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.plugin = Plugin()

    def check(self, named, known, at_least):
        """named: (file, name) pairs."""
        named = list(named)
        self.assertEqual(sorted({pair for pair in named if pair[1] not in known}), [])
        self.assertGreaterEqual(len({name for _, name in named}), at_least)

    def test_routes(self):
        self.check(((path, route) for path, text in texts() for route in ROUTE.findall(text)),
                   set(self.plugin.routes) | set(NO_ROUTES), len(self.plugin.routes))

    def test_keys_of_documents(self):
        """A quoted name that begins as a key does is one."""
        begins = {name.partition("_")[0] for name in self.plugin.meanings if "_" in name}
        self.check(((path, name) for path, text in texts("docs/") for name in QUOTED.findall(prose(text))
                    if name.partition("_")[0] in begins), set(self.plugin.meanings) | set(NO_KEYS), 20)

    def test_options_of_documents(self):
        """What looks like an option of a package that routes write to is one."""
        options = self.written_options()
        packages = {option.partition(".")[0] for option in options}
        self.check(((path, option) for path, text in texts("docs/") for option in OPTION.findall(prose(text))
                    if option.partition(".")[0] in packages), options, 10)

    def written_options(self):
        """Those of the tables, and all that a route writes or deletes on any model."""
        request = {key: row.example for key, row in self.plugin.meanings.items()}
        plans = self.plugin.rehearse([(self.plugin.filled(model), route, request) for model in self.plugin.models
                                      for route in self.plugin.routes])
        return set(self.plugin.options) | {effect["path"] for plan in plans for effect in plan["effects"]
                                           if effect["kind"] in ("set", "delete")}

    def test_checks_stand_once(self):
        patterns = {pattern for patterns in self.plugin.patterns.values() for pattern in patterns}
        self.assertGreater(len(patterns), 3)
        self.assertEqual([(path, pattern) for path, text in texts() for pattern in patterns
                          if pattern in text or json.dumps(pattern)[1:-1] in text], [])


if __name__ == "__main__":
    unittest.main()
