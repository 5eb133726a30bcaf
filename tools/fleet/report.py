# SPDX-License-Identifier: Apache-2.0
"""The summary of a fleet as text for people."""
from summary import OUTCOMES

TROUBLE = OUTCOMES[:3]
FINE = OUTCOMES[3:]
FACT_LINES = (
    # fact                   line
    ("refused",              "refuse a setting"),
    ("ignored",              "ignore a setting"),
    ("unknown",              "do not know a setting"),
    ("reboot",               "reboot"),
    ("restart",              "restart their network"),
    ("lan_address_changed",  "change their LAN address"),
    ("no_radio",             "end without a radio that is on"),
)


def text(summary, by_model):
    """The lines, without their ends."""
    yield from opening(summary)
    yield from table([fact_row(line, summary[fact]) for fact, line in FACT_LINES] + [slowest_row(summary["slowest"])],
                     "<><")
    if summary["errors"]:
        yield from ["", "In error"]
        yield from table([["  " + clean(each["message"]), number(each["devices"]), names(each)]
                          for each in summary["errors"]], "<><")
    yield from keys(summary["keys"])
    yield from ["", *table(model_rows(summary["models"]), "<>>>>>>>>")]
    if by_model:
        for model, own in summary["models"].items():
            yield from ["", f"{clean(model)}: {number(own['planned'])} devices"]
            yield from table([fact_row(line, own[fact]) for fact, line in FACT_LINES if own[fact]["devices"]], "<><")
            yield from keys(own["keys"])


def opening(summary):
    if not summary["complete"]:
        yield f"INCOMPLETE: {clean(summary['incomplete'])}. This is the sum of the first {number(summary['devices'])}."
    yield (f"{number(summary['devices'])} devices: {number(summary['planned'])} planned, {number(summary['error'])} in "
           f"error; {number(summary['changed']['devices'])} change, {number(summary['unchanged']['devices'])} do not")
    yield ""


def fact_row(line, told):
    return ["  " + line, number(told["devices"]), names(told)]


def slowest_row(slowest):
    if not slowest:
        return ["  slowest handler", "-", ""]
    device = f"{clean(slowest['id'])} ({clean(slowest['model'])})" if slowest["seconds"] else ""
    return ["  slowest handler", f"{slowest['seconds']} s", device]


def keys(told):
    """What does not take effect and why, then what does."""
    trouble = [row for key, outcomes in told.items() for row in outcome_rows(key, outcomes, TROUBLE)]
    fine = [row for key, outcomes in told.items() for row in outcome_rows(key, outcomes, FINE)]
    for title, rows in (("Without effect", trouble), ("With effect", fine)):
        if rows:
            yield from ["", title]
            yield from table(rows, "<<><<")


def outcome_rows(key, outcomes, wanted):
    for outcome in wanted:
        for told in outcomes.get(outcome, []):
            reason = f"{outcome} ({told['reason']})" if "reason" in told else outcome
            yield ["  " + clean(key), reason, number(told["devices"]),
                   *([explanation(told), names(told)] if outcome in TROUBLE else [])]


def explanation(told):
    if "suggestion" in told:
        return f"did you mean {clean(told['suggestion'])}?"
    return clean(told.get("message", ""))


def model_rows(models):
    yield ["Model", "devices", "change", "refuse", "ignore", "not know", "reboot", "LAN address", "no radio"]
    for model, own in models.items():
        counts = [own[fact]["devices"] for fact in ("changed", "refused", "ignored", "unknown", "reboot",
                                                     "lan_address_changed", "no_radio")]
        yield ["  " + clean(model), *map(number, [own["planned"], *counts])]


def table(rows, sides):
    """Lines of cells; a side says for its column whether cells are set left (<) or right (>)."""
    rows = list(rows)
    widths = [max(map(len, column)) for column in zip(*rows)]
    for row in rows:
        yield "  ".join(f"{cell:{side}{width}}" for cell, side, width in zip(row, sides, widths)).rstrip()


def number(count):
    return f"{count:,}"


def names(told):
    return ", ".join(map(clean, told["examples"]))


def clean(text):
    """What a device says of itself must not steer a terminal."""
    return "".join(character if character.isprintable() else "?" for character in str(text))
