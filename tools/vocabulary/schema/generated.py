# SPDX-License-Identifier: Apache-2.0
"""The files that are made from the plug-in and kept in the tree."""
import json

import blocks
import json_schema
import openapi
import pages
import recorded_cases
import route_study
import vocabulary
from routes import OF_A_MODEL, READ_BY, schema_name


# The documents that have blocks.
DOCUMENTS = ("docs/api.md", "docs/batch.md")


def files(plugin, tree):
    """Path in the tree to text. The examples are of the tree's recorded cases."""
    recorded = list(recorded_cases.read_calls(tree / "tests/recorded/cases"))
    all_studies = {}
    studied = _of_routes(plugin)
    out = {"schema/openapi.yaml": openapi_text(openapi.document(*studied, recorded))}
    for model in plugin.models:
        studies = all_studies[model] = {}
        for route in OF_A_MODEL:
            settings = vocabulary.settings(plugin, model, route)
            studies[route] = (settings, vocabulary.ending(plugin, model, route),
                              vocabulary.reading(plugin, model, READ_BY[route]))
            schema = json_schema.request_schema(plugin.meanings, model, route, settings)
            out[f"schema/{schema_name(model, route)}"] = schema_text(schema)
        out[f"docs/models/{model}.md"] = pages.page(model, plugin.meanings, studies)
    made = blocks.of_routes(plugin, studied[-1]) | blocks.of_models(all_studies)
    return out | {path: blocks.renewed((tree / path).read_text(encoding="utf-8"), made) for path in DOCUMENTS}


def openapi_document(plugin, kept):
    """kept: the file of the document that has the examples."""
    made = openapi.document(*_of_routes(plugin))
    openapi.take_examples(made, openapi.from_yaml(kept.read_text(encoding="utf-8")))
    return made


def _of_routes(plugin):
    return plugin.description["version"], plugin.meanings, [route_study.study(plugin, path) for path in plugin.routes]


def openapi_text(document):
    return ("# SPDX-License-Identifier: Apache-2.0\n"
            "# Made by `aerolink generate` from the plug-in itself; do not edit.\n" + openapi.to_yaml(document))


def schema_text(schema):
    """The schema as JSON, a line a property."""
    lines = []
    for name, value in schema.items():
        if name == "properties":
            rows = ",\n".join(f"    {_compact(key)}: {_compact(row)}" for key, row in value.items())
            value = f"{{\n{rows}\n  }}" if rows else "{}"
        else:
            value = _compact(value)
        lines.append(f"  {_compact(name)}: {value}")
    return "{\n" + ",\n".join(lines) + "\n}\n"


def _compact(value):
    return json.dumps(value, ensure_ascii=False)
