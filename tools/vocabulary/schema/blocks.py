# SPDX-License-Identifier: Apache-2.0
"""Parts of documents that are made from the plug-in; the rest of these documents is written by people."""
import re

from openapi import TEXTS
from routes import PROVISIONING, PUSH

# What a member is, by the kind that the table of keys gives.
TYPES = {"text": "string", "boolean": "boolean", "any": "any", "keys": "array of strings"}
BEGIN, END = "<!-- Made by `aerolink generate`: {} -->", "<!-- End of what is made -->"
BLOCK = re.compile("(" + re.escape(BEGIN).replace(r"\{\}", "(?P<name>[a-z]+(?: of /[a-z/_]+)?)") + r"\n).*?(?=" + re.escape(END) + ")",
                   re.DOTALL)


def renewed(text, blocks):
    """The document with its blocks as they should be; blocks: name to text."""
    return BLOCK.sub(lambda found: f"{found[1]}\n{blocks[found['name']]}\n", text)


def of_routes(plugin, studied):
    """The overview of the routes, what each takes and answers, and what the daemon makes of results and refuses;
    studied: what route_study.study found of each."""
    daemon = TEXTS["daemon"]
    rows = [(f"[{path}](#{_anchor(method, path)})", method.upper(), TEXTS[path]["summary"])
            for path, method in plugin.routes.items()]
    return _members(plugin, studied) | {
        "routes": _table(("route", "method", "purpose"), rows),
        "results": _table(("result", "HTTP status", "meaning"), [
            (result, str(row["status"]), row["description"]) for result, row in daemon["results"].items()]),
        "refusals": _table(("status", "because"), [
            (status, row["description"]) for status, row in daemon["refusals"].items()]),
    }


def _members(plugin, studied):
    found = {}
    for route in studied:
        described = TEXTS[route.path].get("response", {})
        found[f"request of {route.path}"] = _table(("request member", "type", "means"), [
            (f'"{key}"', TYPES[plugin.meanings[key].kind], _meaning(plugin.meanings[key], route)) for key in route.members])
        found[f"response of {route.path}"] = _table(("response member", "type", "means"), [
            (f'"{key}"', kind, described[key]) for key, kind in route.response.items() if key in described])
    return found


def _meaning(meaning, route):
    required = "**Required.** " if meaning.name in route.required else ""
    words = f" Zones: {', '.join(meaning.words)}." if meaning.name in route.closed else ""
    return required + meaning.description + words


def of_models(studies):
    """Which models are alike; studies: model to route to what pages.page takes of it."""
    alike = {}
    for model, by_route in studies.items():
        alike.setdefault(repr(list(by_route.values())), []).append(model)
    rows = []
    for models in alike.values():
        counts = [str(sum(setting.has_effect for setting in studies[models[0]][route][0]))
                  for route in (PUSH, PROVISIONING)]
        rows.append((", ".join(f"[{model}](models/{model}.md)" for model in models), *counts))
    return {"models": _table(("models", "settings of a push", "of a white-label request"), rows)}


def _anchor(method, path):
    return f"{method}-{path.replace('/', '')}"


def _table(title, rows):
    lines = [f"| {' | '.join(row)} |" for row in (title, *rows)]
    return "\n".join([lines[0], "|" + "---|" * len(title), *lines[1:]]) + "\n"
