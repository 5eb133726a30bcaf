# SPDX-License-Identifier: Apache-2.0
"""What each route looks at, must have and answers, found out by rehearsing."""
from dataclasses import dataclass, field

from vocabulary import FOREIGN_WORD

JSON_TYPES = {bool: "boolean", int: "integer", str: "string", list: "array", dict: "object"}


@dataclass
class Route:
    path: str
    method: str
    members: list = field(default_factory=list)    # keys that it looks at, in the order of the table of keys
    required: list = field(default_factory=list)
    closed: list = field(default_factory=list)     # keys whose value must be one of the words of the table of keys
    results: list = field(default_factory=list)    # 0 first
    response: dict = field(default_factory=dict)   # member: JSON type, of the answers with result 0
    refused: str = ""                              # what the answer has under the key of a refused setting
    failure: dict = field(default_factory=dict)    # likewise with another result


def study(plugin, path):
    """The route on every model."""
    route = Route(path, plugin.routes[path])
    examples = {key: row.example for key, row in plugin.meanings.items()}
    devices = [plugin.filled(model) for model in plugin.models]
    plans = plugin.rehearse([(device, path, examples) for device in devices])
    seen = {row["key"] for plan in plans for row in plan["keys"] if row["outcome"] != "unknown"}
    route.members = [key for key in examples if key in seen]
    requests = _requests(plugin, route.members)
    plans += plugin.rehearse([(device, path, request) for device in devices for request in requests])
    plans += plugin.rehearse([({**device, "internet": False}, path, requests[0]) for device in devices])
    for plan in plans:
        _note(route, plan)
    _find_demands(plugin, route, devices[0], requests[0])
    route.results.sort(reverse=True)
    return route


def _requests(plugin, members):
    """With examples, with values that are refused where any is, with all keys read by name, and with nothing."""
    rows = [plugin.meanings[key] for key in members]
    texts = [key for key, row in plugin.meanings.items() if row.kind == "text"]
    return ({row.name: row.example for row in rows},
            {row.name: "x" if row.kind == "text" else row.example for row in rows},
            {row.name: texts if row.kind == "keys" else row.example for row in rows},
            {})


def _find_demands(plugin, route, device, request):
    """The members whose absence, and those whose foreign value, changes the result."""
    without = [{name: value for name, value in request.items() if name != key} for key in request]
    foreign = [{**request, key: FOREIGN_WORD} for key in request]
    for keys, worst, plays in ((route.required, {}, without),
                               (route.closed, dict.fromkeys(request, FOREIGN_WORD), foreign)):
        usual, bad = plugin.rehearse([(device, route.path, request), (device, route.path, worst)])
        if bad["result"] == usual["result"]:
            continue
        plans = plugin.rehearse([(device, route.path, each) for each in plays])
        for plan in plans:
            _note(route, plan)
        keys += [key for key, plan in zip(request, plans) if plan["result"] != usual["result"]]


def _note(route, plan):
    if plan["result"] not in route.results:
        route.results.append(plan["result"])
    sent = {row["key"] for row in plan["keys"]} if route.method == "post" else ()
    noted = route.response if plan["result"] == 0 else route.failure
    for member, value in plan["response"].items():
        if member in sent:
            route.refused = value
        else:
            noted.setdefault(member, JSON_TYPES[type(value)])
