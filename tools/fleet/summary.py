# SPDX-License-Identifier: Apache-2.0
"""The sum of a fleet: chunks' sums (worker.py) put together in the order of the input, and what is told of them.

Whatever the chunks were and wherever they were planned, the same fleet has the same sum.
"""
from worker import EXAMPLES, empty_sum

# A fleet may be hostile, its sum stays small: these many models and errors have rows of their own.
MOST_MODELS = 200
MOST_ERRORS = 50
OTHERS = "(others)"

OUTCOMES = ("refused", "ignored", "unknown", "changed", "applied", "same")

# Facts of a device that are told, each with its number of devices and examples.
FACTS = (
    "changed",              # ends with another configuration, or something is applied
    "unchanged",
    "refused",              # at least one key is
    "ignored",
    "unknown",
    "reboot",               # what happens then
    "restart",
    "lan_address_changed",
    "no_radio",             # ends without a radio that is on
)


def add(total, part):
    """Adds the sum of the chunk that follows."""
    total["lines"] += part["lines"]
    merge(total["errors"], part["errors"], MOST_ERRORS)
    for model, rows in part["models"].items():
        merge(place_for(total["models"], model, MOST_MODELS, {}), rows)
    if part["slowest"] and (not total["slowest"] or part["slowest"][0] > total["slowest"][0]):
        total["slowest"] = part["slowest"]


def place_for(table, name, most, empty):
    return table.setdefault(name if name in table or len(table) < most else OTHERS, empty)


def merge(rows, others, most=None):
    for what, other in others.items():
        combine(place_for(rows, what, most or len(rows) + 1, [0, [], None]), other)


def combine(row, other):
    devices, examples, note = other
    if not row[1] or tuple(examples[0]) < row[1][0]:
        row[2] = note
    row[0] += devices
    row[1] = sorted(row[1] + list(map(tuple, examples)))[:EXAMPLES]


def all_models(models):
    """The rows of the whole fleet."""
    rows = {}
    for own in models.values():
        merge(rows, own)
    return rows


def summary(total, request, route, why_incomplete=None):
    """What is told of a sum: the object that --json prints."""
    rows = all_models(total["models"])
    told = {"complete": why_incomplete is None}
    if why_incomplete:
        told["incomplete"] = why_incomplete
    told |= {"route": route, "devices": total["lines"], "planned": count_of(rows, "changed", "unchanged")}
    told["error"] = total["lines"] - told["planned"]
    told["errors"] = [{"message": message} | as_told(row) for message, row in total["errors"].items()]
    told |= facts(rows) | {"slowest": slowest(total["slowest"]), "keys": keys(rows, request), "models": {}}
    for model in sorted(total["models"]):
        own = total["models"][model]
        told["models"][model] = ({"planned": count_of(own, "changed", "unchanged")} | facts(own) |
                                 {"keys": keys(own, request)})
    return told


def count_of(rows, *names):
    return sum(rows.get(("device", name), [0])[0] for name in names)


def facts(rows):
    return {name: as_told(rows.get(("device", name), [0, [], None])) for name in FACTS}


def as_told(row):
    return {"devices": row[0], "examples": [name for _, name in row[1]]} | (row[2] or {})


def slowest(found):
    if not found:
        return None
    seconds, _, name, model = found
    return {"seconds": seconds, "id": name, "model": model}


def keys(rows, request):
    """Key, in the order of the request: its outcomes, each a list with an entry a reason."""
    told = {key: {} for key in request}
    order = {outcome: place for place, outcome in enumerate(OUTCOMES)}
    found = sorted((what[1:], row) for what, row in rows.items() if what[0] == "key")
    for (key, outcome, reason), row in sorted(found, key=lambda entry: order.get(entry[0][1], len(order))):
        told.setdefault(key, {}).setdefault(outcome, []).append(({"reason": reason} if reason else {}) | as_told(row))
    return told


__all__ = ["add", "empty_sum", "summary", "FACTS", "OUTCOMES"]
