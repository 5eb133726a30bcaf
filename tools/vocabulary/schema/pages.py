# SPDX-License-Identifier: Apache-2.0
"""A page for each model: what a push may hold and what it does there."""
import re
import textwrap

from routes import PUSH, schema_name

HEAD = ("<!-- SPDX-License-Identifier: Apache-2.0 -->\n"
        "<!-- Made by `aerolink generate` from the plug-in itself; do not edit. -->\n")
USUAL_LIMIT = 511  # bytes; not worth a word
LENGTH = re.compile(r"^\^\.\{\d+,\d+\}\$$")  # a check of nothing but the length
FIRST_TIME = {"no": "left alone", "yes": "written", "unchecked": "written unchecked"}


def page(model, meanings, studies):
    """studies: route to (settings, plan of an empty request), the push first."""
    parts = [HEAD, f"# {model}\n", _wrap(
        f"What a {model} takes, found out by rehearsing requests with the plug-in on a device fresh from the factory "
        "whose options are all set. What holds for all models is in [batch.md](../batch.md). The same for machines: "
        + " and ".join(f"[{route}](../../schema/{schema_name(model, route)})" for route in studies) + ".")]
    checks = _named_checks(studies)
    for route, (settings, empty) in studies.items():
        parts += [f"## {'A cloud push' if route == PUSH else 'White-label'}: {route}\n",
                  _table(meanings, settings, checks), *_notes(settings), _ending(empty)]
    parts.append(_checks(checks))
    return "\n".join(part for part in parts if part)


# --- Settings

def _table(meanings, settings, checks):
    lines = ["| key | options, in order of writing | takes | while unset |", "|---|---|---|---|"]
    group = None
    for setting in (each for each in settings if each.has_effect):
        meaning = meanings[setting.key]
        if meaning.group != group:
            group = meaning.group
            lines.append(f"| **{group}** | | | |")
        taken = takes(setting, meaning, checks).replace("|", "or")
        lines.append(f"| `{setting.key}` | {_code(setting.uci)} | {taken} | {_while_unset(setting)} |")
    return "\n".join(lines) + "\n"


def takes(setting, meaning, checks):
    """In words: what a value must be to be accepted. checks: pattern to its name."""
    if setting.words:
        return " | ".join(setting.words)
    limit = "" if setting.max_bytes in (USUAL_LIMIT, None) else f"at most {setting.max_bytes} bytes"
    if setting.min_bytes:
        limit = f"{setting.min_bytes} to {setting.max_bytes} bytes"
    name = checks[setting.check] if setting.check and not LENGTH.match(setting.check) else ""
    example = "" if meaning.secret else f"such as {', '.join(meaning.words or [meaning.example])}"
    return ", ".join(filter(None, (name, limit, example))) or "any text"


def _while_unset(setting):
    return FIRST_TIME[setting.first_time] if setting.uci else ""


def _named_checks(studies):
    """Pattern to a letter."""
    patterns = dict.fromkeys(setting.check for settings, _ in studies.values() for setting in settings
                             if setting.check and not LENGTH.match(setting.check))
    return {pattern: f"check {chr(ord('A') + index)}" for index, pattern in enumerate(patterns)}


def _checks(checks):
    if not checks:
        return ""
    lines = "".join(f"- {name}: `{pattern}`\n" for pattern, name in checks.items())
    return "## Checks\n\nOne line of the value must match; bytes count.\n\n" + lines


# --- What a table cannot say

def _notes(settings):
    yield _list("Looked at, and without effect:", [f"`{s.key}`" for s in settings if not s.has_effect])
    yield _list("Refused values are written all the same:", [f"`{s.key}`" for s in settings if s.written_anyway])
    yield _bullets("While the repeater uplink is up:", [
        f"`{s.key}`: {'still written: ' + _code(s.repeater) if s.repeater else 'not written'}"
        for s in settings if s.repeater is not None])
    yield _bullets("Other effects:", [f"`{s.key}`: {_code(s.effects)}" for s in settings if s.effects])
    yield _bullets("After the first full read of the process:", [
        f"`{s.key}`: {_code(s.after_full_read)}" for s in settings if s.after_full_read is not None])


def _ending(empty):
    commands = [f"- `{effect}`" for effect in empty]
    return "Every request, an empty one too, does in this order:\n\n" + "\n".join(commands) + "\n"


def _code(texts):
    return ", ".join(f"`{text}`" for text in texts)


def _list(title, items):
    return _wrap(f"{title} {', '.join(items)}.") if items else ""


def _bullets(title, items):
    return "\n".join([title, "", *(f"- {item}" for item in items), ""]) if items else ""


def _wrap(text):
    return textwrap.fill(text, 118, break_long_words=False, break_on_hyphens=False) + "\n"
