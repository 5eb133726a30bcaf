# SPDX-License-Identifier: Apache-2.0
"""The schemas of all models against the plug-in, with random values: what a schema accepts is not refused, and what its
pattern or its words refuse is, but for what docs/schema.md names."""
import json
import os
import random
import re
import unittest
from pathlib import Path

import jsonschema
from plugin import Plugin
from vocabulary import is_accepted

SCHEMAS = Path(__file__).resolve().parents[2] / "schema"
ROUTES = {"batch_set": "/cloud/aerolink/batch_set", "set_config": "/whiteboard/set_config"}
VALUES = int(os.environ.get("VOCABULARY_VALUES", "1000"))  # of each key, route and model
EXPLAINED = 3  # further values whose outcome the planner explains
SEED = int(os.environ.get("VOCABULARY_SEED", "20261121"))

PIECES = ("1", "0", "300", "255", "10.0.0.1", "192.168.1.1", ".", "http://", "https://x", "ftp://", "://", " ", "\t",
          "\n", "\r", "none", "max", "HT40", "é", "€", "\U0001f600", '"', "'", "\\", "$(x)", "`", "%s", ";", "&", "|", "<",
          "#", "/", "a", "word", "x" * 31, "y" * 63, "z" * 255)


def value(chance, schema):
    """Near an example, put together from pieces, or just characters; around every limit."""
    kind = chance.randrange(4)
    if kind == 0:
        return mutated(chance, chance.choice(schema["examples"]))
    if kind == 1:
        return "".join(chance.choices(PIECES, k=chance.randrange(5)))
    if kind == 2:
        limit = chance.choice((schema.get("maxLength", 511), schema.get("minLength", 1), 127, 511))
        return chance.choice("x\"' é€") * max(0, limit + chance.randrange(-1, 2))
    return "".join(chr(chance.choice((chance.randrange(1, 128), chance.randrange(1, 0xd800))))
                   for _ in range(chance.randrange(40)))


def mutated(chance, text):
    at = chance.randrange(len(text) + 1)
    piece = chance.choice(PIECES)
    return chance.choice((text, text[:at] + piece + text[at:], text[:at], text[at:] + text,
                          text[:at] + piece + text[at + 1:]))


class Check:
    """What the schema of a key says, compiled once: 1,000 values times thousands of keys are many."""

    def __init__(self, schema):
        self.words = schema.get("enum")
        self.pattern = re.compile(schema["pattern"]) if "pattern" in schema else None
        self.forbidden = re.compile(schema["not"]["pattern"]) if "not" in schema else None
        self.least, self.most = schema.get("minLength", 0), schema.get("maxLength")
        self.most_beyond_ascii = schema.get("then", {}).get("maxLength")

    def accepts(self, text):
        most = self.most if text.isascii() else self.most_beyond_ascii
        return ((self.words is None or text in self.words) and (most is None or len(text) <= most)
                and len(text) >= self.least and not (self.pattern and not self.pattern.search(text))
                and not (self.forbidden and self.forbidden.search(text)))

    def surely_refuses(self, text):
        """By its words or its pattern, and not only because bytes are no characters or a value has several lines."""
        if self.words is not None:
            return text not in self.words
        return bool(self.pattern) and text.isascii() and "\n" not in text and not self.pattern.search(text)


def is_unset_by_another(plan, key, schema):
    """Whether another key of the request emptied the option, as an encryption "none" does: no check then."""
    return any(effect["kind"] == "set" and effect["value"] == "" and effect.get("key") != key
               and effect["path"] in schema["x-uci"] for effect in plan["effects"])


# Effects that are meant, not only steps on the way.
INTENDED = {"set", "delete", "system", "exec", "fork", "iwpriv"}


def taken(plan, request):
    """The keys whose value has an effect of its row, or is a line of a file, and is not answered as refused."""
    by_row = {effect["key"] for effect in plan["effects"]
              if "key" in effect and effect["kind"] in INTENDED and not effect.get("failed")}
    files = [effect["content"] for effect in plan["effects"] if effect["kind"] == "write"]
    in_file = {key for key, text in request.items() if any(f"{key}={text}\n" in content for content in files)}
    return (by_row | in_file) - plan["response"].keys()


class RandomValues(unittest.TestCase):
    """Of each model by each route, a test a route."""

    def test_of_push(self):
        self.compare_models("batch_set")

    def test_of_provisioning(self):
        self.compare_models("set_config")

    def compare_models(self, name):
        plugin = Plugin()
        chance = random.Random(SEED)
        compared = 0
        for model in plugin.models:
            schema = json.loads((SCHEMAS / f"{model}.{name}.json").read_text(encoding="utf-8"))
            effective = {key: row for key, row in schema["properties"].items() if row["x-uci"] or row["x-effects"]}
            compared += self.compare(plugin, chance, (model, ROUTES[name]), effective, VALUES)
            self.compare(plugin, chance, (model, ROUTES[name]), effective, EXPLAINED)
        self.assertGreater(compared, VALUES * len(plugin.models) * 10)

    def compare(self, plugin, chance, place, properties, count):
        model, route = place
        checks = {key: Check(schema) for key, schema in properties.items()}
        device = plugin.filled(model)
        requests = [{key: value(chance, schema) for key, schema in properties.items()} for _ in range(count)]
        explained = count == EXPLAINED
        plans = plugin.rehearse([(device, route, request) for request in requests], with_keys=explained)
        for request, plan in zip(requests, plans):
            accepted = {key for key in request if is_accepted(plan, key)} if explained else taken(plan, request)
            for key, text in request.items():
                if key not in accepted and checks[key].accepts(text):
                    self.fail(f"seed {SEED}, {model} {route}: {key} = {text!r} is refused, the schema accepts it")
                if key in accepted and checks[key].surely_refuses(text) \
                        and not is_unset_by_another(plan, key, properties[key]):
                    self.fail(f"seed {SEED}, {model} {route}: {key} = {text!r} is accepted, the schema refuses it")
        return count * len(properties)


class Checks(unittest.TestCase):
    def test_say_what_a_validator_says(self):
        chance = random.Random(SEED)
        for file in sorted(SCHEMAS.glob("*.json"))[::7]:
            for key, schema in json.loads(file.read_text(encoding="utf-8"))["properties"].items():
                validator, check = jsonschema.Draft202012Validator(schema), Check(schema)
                for text in [value(chance, schema) for _ in range(25)]:
                    with self.subTest(f"{file.name} {key} {text!r}"):
                        self.assertEqual(validator.is_valid(text), check.accepts(text))


if __name__ == "__main__":
    unittest.main()
