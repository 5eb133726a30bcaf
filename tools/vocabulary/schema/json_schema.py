# SPDX-License-Identifier: Apache-2.0
"""JSON Schemas (2020-12) of requests."""
from patterns import char_class

DIALECT = "https://json-schema.org/draft/2020-12/schema"
BYTES_OF_A_CHARACTER = 4  # at most, in UTF-8
BEYOND_ASCII = "[^\\x00-\\x7f]"


def request_schema(meanings, model, route, settings, lenient=False):
    """The schema of a request that carries a model's settings. Strict, it has only keys that the route looks at;
    lenient, others are let pass, which is what the router does."""
    return {
        "$schema": DIALECT,
        "title": f"{route} on {model}",
        "type": "object",
        "properties": {setting.key: setting_schema(meanings[setting.key], setting) for setting in settings},
        "additionalProperties": lenient,
    }


def setting_schema(meaning, setting):
    schema = {"title": meaning.title, "description": meaning.description, "type": "string"}
    if setting.words:
        schema["enum"] = list(setting.words)
    elif setting.has_effect:
        schema |= limits(setting.min_bytes, setting.max_bytes)
        if setting.pattern:
            schema["pattern"] = setting.pattern
    forbidden = [char_class(setting.forbidden)] if setting.forbidden else []
    forbidden += ["^" + char_class(setting.not_first)] if setting.not_first else []
    if forbidden:
        schema["not"] = {"pattern": "|".join(forbidden)}
    schema["examples"] = examples(meaning)
    if meaning.unit:
        schema["x-unit"] = meaning.unit
    if meaning.secret:
        schema["writeOnly"] = True
    schema |= {"x-group": meaning.group, "x-uci": setting.uci, "x-first-time": setting.first_time,
               "x-effects": setting.effects}
    if setting.repeater is not None:
        schema["x-repeater"] = setting.repeater
    return schema


def limits(min_bytes, max_bytes):
    """The router counts bytes, a schema characters: with one beyond ASCII there may be only as many as surely fit."""
    schema = {"minLength": min_bytes} if min_bytes else {}
    if max_bytes is not None:
        schema |= {"maxLength": max_bytes, "x-max-bytes": max_bytes, "if": {"pattern": BEYOND_ASCII},
                   "then": {"maxLength": max_bytes // BYTES_OF_A_CHARACTER}}
    return schema


def examples(meaning):
    return [meaning.example, meaning.other] + [word for word in meaning.words
                                               if word not in (meaning.example, meaning.other)]


def route_schema(meanings, route, lenient=False):
    """The schema of the request of a route whose members are the same on every model."""
    return {
        "$schema": DIALECT,
        "title": route.path,
        "type": "object",
        "properties": {key: member_schema(meanings[key], key in route.closed) for key in route.members},
        "required": route.required,
        "additionalProperties": lenient,
    }


def member_schema(meaning, is_closed=False):
    schema = {"title": meaning.title, "description": meaning.description}
    schema |= {
        "text": {"type": "string"},
        "boolean": {"type": "boolean"},
        "any": {},
        "keys": {"type": "array", "items": {"type": "string"}},
    }[meaning.kind]
    if is_closed:
        schema["enum"] = list(meaning.words)
    return schema | {"examples": examples(meaning)}
