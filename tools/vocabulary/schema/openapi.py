# SPDX-License-Identifier: Apache-2.0
"""The OpenAPI document of all routes: what a client may send, what it gets, and what the daemon answers for itself."""
import re
import tomllib
from pathlib import Path

import recorded_cases
from json_schema import member_schema

JSON = "application/json"
REFUSED_VALUE = "SetFalse"
TEXTS = tomllib.loads((Path(__file__).resolve().parent / "routes.toml").read_text(encoding="utf-8"))


def document(version, meanings, routes, recorded=()):
    """routes: what route_study.study found, in order; recorded: the calls of the recorded cases, for examples; none:
    without."""
    calls = {f"{call.case} {call.number}": call for call in recorded}
    return {
        "openapi": "3.1.0",
        "info": {"title": "aerolink", "version": version, "summary": "Local management API of a router",
                 "description": TEXTS["daemon"]["description"],
                 "license": {"name": "Apache-2.0", "identifier": "Apache-2.0"}},
        "servers": [{"url": "http://127.0.0.1:8080", "description": "The router in a box"}],
        "security": [{}, {"token": []}],
        "tags": _tags(routes),
        "paths": {route.path: {route.method: _operation(meanings, route, calls)} for route in routes},
        "components": {
            "securitySchemes": {"token": {"type": "http", "scheme": "bearer",
                                          "description": "Only where the daemon was started with a token."}},
            "schemas": _schemas(meanings, routes),
            "responses": {refusal["name"]: _refusal(refusal) for refusal in TEXTS["daemon"]["refusals"].values()},
        },
    }


def take_examples(made, other):
    """Gives the document the examples that another one has at the same places."""
    places = dict(_media(made))
    for place, media in _media(other):
        if place in places and "examples" in media:
            places[place]["examples"] = media["examples"]


def _media(made):
    for path, operations in made["paths"].items():
        for method, operation in operations.items():
            contents = {"request": operation.get("requestBody", {}), **operation["responses"]}
            for name, content in contents.items():
                if JSON in content.get("content", {}):
                    yield (path, method, name), content["content"][JSON]


# --- Operations

def _tags(routes):
    return [{"name": name} for name in dict.fromkeys(_tag(route) for route in routes)]


def _tag(route):
    return route.path.split("/")[1]


def operation_id(route):
    return f"{route.method}_" + route.path.strip("/").replace("/", "_")


def _operation(meanings, route, calls):
    text = TEXTS[route.path]
    chosen = [calls[name] for name in text["examples"]] if calls else []
    wrong = [str(call) for call in chosen if (call.method, call.path) != (route.method, route.path)]
    if wrong:
        raise ValueError(f"{wrong} are no calls of {route.path}")
    operation = {"operationId": operation_id(route), "tags": [_tag(route)], "summary": text["summary"],
                 "description": text["description"]}
    if route.method == "get":
        parameters = [_parameter(meanings[key], key in route.required) for key in route.members]
        if parameters:
            operation["parameters"] = parameters
    else:
        operation["requestBody"] = {"required": True, "content": {JSON: _with_examples(
            {"schema": _ref(f"{_type_name(route)}Request")},
            [(call, call.request) for call in chosen if call.result == 0])}}
    operation["responses"] = _responses(route, chosen)
    return operation


def _parameter(meaning, required):
    schema = member_schema(meaning)
    del schema["title"], schema["description"]
    return {"name": meaning.name, "in": "query", "required": required, "description": meaning.description,
            "style": "form", "explode": True, "schema": schema}


def _responses(route, chosen):
    responses = {status: {"$ref": f"#/components/responses/{refusal['name']}"}
                 for status, refusal in TEXTS["daemon"]["refusals"].items() if refusal["of"] in ("any", route.method)}
    for result in route.results:
        known = TEXTS["daemon"]["results"][str(result)]
        answer = {"schema": _ref(f"{_type_name(route)}{'Reply' if result == 0 else 'Failure'}")}
        if str(known["status"]) in responses:  # the daemon answers with this status for itself too
            answer["schema"] = {"oneOf": [answer["schema"], _ref("Refusal")]}
        replies = [(call, {"result": result, "response": call.response}) for call in chosen if call.result == result]
        responses[str(known["status"])] = {"description": known["description"],
                                           "content": {JSON: _with_examples(answer, replies)}}
    return dict(sorted(responses.items()))


def _with_examples(media, examples):
    if examples:
        media["examples"] = {_example_name(call): {"summary": call.purpose, "value": value} for call, value in examples}
    return media


def _example_name(call):
    return re.sub(r"\W", "_", f"{call.case} {call.number}")


def _refusal(refusal):
    return {"description": refusal["description"], "content": {JSON: {"schema": _ref("Refusal")}}}


# --- Schemas

def _type_name(route):
    return "".join(word.capitalize() for word in re.split(r"[/_]", route.path) if word != "aerolink")


def _ref(name):
    return {"$ref": f"#/components/schemas/{name}"}


def _schemas(meanings, routes):
    schemas = {
        "Refusal": {"type": "object", "description": "What the daemon answers for itself.", "required": ["error"],
                    "properties": {"error": {"type": "string"}}, "additionalProperties": False},
        REFUSED_VALUE: {"type": "string", "const": next(route.refused for route in routes if route.refused),
                        "description": "The value was not accepted; the other settings were applied all the same."},
    }
    for route in routes:
        name = _type_name(route)
        if route.method == "post":
            schemas[f"{name}Request"] = _request(meanings, route)
        schemas[f"{name}Reply"] = _reply([0], _response(meanings, route))
        failures = [result for result in route.results if result != 0]
        if failures:
            schemas[f"{name}Failure"] = _reply(failures, _members(route, route.failure, required=False))
    return schemas


def _request(meanings, route):
    schema = {"type": "object", "properties": {key: _request_member(meanings[key], route) for key in route.members}}
    return schema | {"required": route.required} if route.required else schema


def _request_member(meaning, route):
    schema = member_schema(meaning)
    if meaning.name in route.closed:
        schema["description"] += f" Names of zones: {', '.join(meaning.words)}."
    return schema


def _reply(results, response):
    return {"type": "object", "required": ["result", "response"], "additionalProperties": False,
            "properties": {"result": {"type": "integer", "enum": results}, "response": response}}


def _response(meanings, route):
    text = TEXTS[route.path]
    if "response" in text and route.response:
        return _members(route, route.response, required=True)
    schema = {"type": "object"}
    if route.response:
        schema["properties"] = {key: {"type": "string", "description": meanings[key].description}
                                for key in route.response}
    others = _ref(REFUSED_VALUE) if route.refused else False
    return schema | {"additionalProperties": {"description": text["companion"]} if "companion" in text else others}


def _members(route, members, required):
    described = TEXTS[route.path].get("response", {})
    schema = {"type": "object", "additionalProperties": False, "properties": {
        name: _typed(kind) | {"description": described[name]} for name, kind in members.items()}}
    return schema | {"required": list(members)} if required and members else schema


def _typed(kind):
    return {"type": kind, "items": {"type": "string"}} if kind == "array" else {"type": kind}


# --- YAML

def from_yaml(text):
    import yaml

    return yaml.load(text, Loader=getattr(yaml, "CSafeLoader", yaml.SafeLoader))


def to_yaml(value):
    """The document as YAML that reads well: texts of several lines as blocks."""
    import yaml  # of no use to the other commands

    class Dumper(yaml.SafeDumper):
        def ignore_aliases(self, data):
            return True

    def text(dumper, data):
        style = "|" if "\n" in data and data.isprintable() is False and " \n" not in data else None
        return dumper.represent_scalar("tag:yaml.org,2002:str", data, style=style)
    Dumper.add_representer(str, text)
    return yaml.dump(value, Dumper=Dumper, sort_keys=False, allow_unicode=True, width=118)
