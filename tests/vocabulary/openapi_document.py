# SPDX-License-Identifier: Apache-2.0
"""The OpenAPI document of the tree, and JSON Schema against it."""
from pathlib import Path

import jsonschema
import yaml

TREE = Path(__file__).resolve().parents[2]
FILE = TREE / "schema/openapi.yaml"
JSON = "application/json"


class Document:
    def __init__(self, file=FILE):
        self.content = yaml.load(file.read_text(encoding="utf-8"), Loader=yaml.CSafeLoader)

    def operations(self):
        """(method, path, operation)."""
        return [(method, path, operation) for path, item in self.content["paths"].items()
                for method, operation in item.items()]

    def operation(self, method, path):
        return self.content["paths"][path][method]

    def response(self, operation, status):
        """The response for a status, references followed; fails when there is none."""
        found = operation["responses"][str(status)]
        while "$ref" in found:
            found = self._follow(found["$ref"])
        return found

    def media(self, operation, status):
        return self.response(operation, status)["content"][JSON]

    def errors(self, value, schema):
        """What is wrong with the value, as texts."""
        schema = {**schema, "components": self.content["components"]}
        validator = jsonschema.Draft202012Validator(schema)
        return [f"{error.json_path}: {error.message}" for error in validator.iter_errors(value)]

    def request_errors(self, operation, request):
        """Of a request as a handler gets it: for a get the members are the query's parameters."""
        if "requestBody" in operation:
            return self.errors(request, operation["requestBody"]["content"][JSON]["schema"])
        if not isinstance(request, dict):
            return ["no query makes this request"]
        parameters = {parameter["name"]: parameter["schema"] for parameter in operation.get("parameters", [])}
        return [error for name, schema in parameters.items() if name in request
                for error in self.errors(request[name], schema)]

    def status_of(self, operation, result):
        """The status of the response that has this result; null when none has."""
        for status in operation["responses"]:
            schema = self.response(operation, status)["content"][JSON]["schema"]
            if any(result in self._results(choice) for choice in schema.get("oneOf", [schema])):
                if not self._is_other_status(status, result):
                    return status
        return None

    def _results(self, schema):
        if "$ref" in schema:
            schema = self._follow(schema["$ref"])
        return schema.get("properties", {}).get("result", {}).get("enum", [])

    def _is_other_status(self, status, result):
        """A route's failures share a schema; which result has which status is the daemon's."""
        return (result, status) not in ((0, "200"), (-4, "422"), (-5, "400"), (-24, "503"))

    def _follow(self, reference):
        found = self.content
        for name in reference.removeprefix("#/").split("/"):
            found = found[name]
        return found
