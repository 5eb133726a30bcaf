# SPDX-License-Identifier: Apache-2.0
"""A page for each model: what a push may hold and what it does there."""
import itertools
import re
import textwrap

from routes import PUSH, schema_name
from vocabulary import AS_SENT, IN_ANOTHER_FORM

HEAD = ("<!-- SPDX-License-Identifier: Apache-2.0 -->\n"
        "<!-- Made by `aerolink generate` from the plug-in itself; do not edit. -->\n")
USUAL_LIMIT = 511  # bytes; not worth a word
LENGTH = re.compile(r"^\^\.\{\d+,\d+\}\$$")  # a check of nothing but the length
FIRST_TIME = {"no": "left alone", "yes": "written", "unchecked": "written unchecked"}


def page(model, meanings, studies):
    """studies: route to (settings, what every request does, the route that reads them), the push first."""
    parts = [HEAD, f"# {model}\n", _wrap(
        f"What a {model} takes, found out by rehearsing requests with the plug-in on a device fresh from the factory "
        "whose options are all set. What holds for all models is in [batch.md](../batch.md). The same for machines: "
        + " and ".join(f"[{route}](../../schema/{schema_name(model, route)})" for route in studies) + ".")]
    checks = _named_checks(studies)
    for route, (settings, empty, reading) in studies.items():
        parts += [f"## {'A cloud push' if route == PUSH else 'White-label'}: {route}\n",
                  _table(meanings, settings, checks), *_notes(settings), _ending(empty), *_reading(settings, reading)]
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
    patterns = dict.fromkeys(setting.check for settings, _, _ in studies.values() for setting in settings
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
    yield _list("Refused values are not answered:", [f"`{s.key}`" for s in settings if s.silent])
    yield _list("Refused values are written all the same:", [f"`{s.key}`" for s in settings if s.written_anyway])
    yield _bullets("While the repeater uplink is up:", [
        f"`{s.key}`: {'still written: ' + _code(s.repeater) if s.repeater else 'not written'}"
        for s in settings if s.repeater is not None])
    yield _bullets("Done otherwise than by writing the value as it was sent:", [
        item for s in settings for item in _by_value(s)])
    yield _bullets("Other effects:", [f"`{s.key}`: {_code(s.effects)}"
                                      for s in settings if s.effects and not s.by_value])
    yield _bullets("After the first full read of the process:", [
        f"`{s.key}`: {_code(s.after_full_read)}" for s in settings if s.after_full_read is not None])


def _by_value(setting):
    for values, texts in setting.by_value:
        of = f" {', '.join(value or 'an empty text' for value in values)}" if values else ""
        done = [_assignment(text) + (f" ({times} times)" if times > 1 else "")
                for text, times in ((text, len(list(same))) for text, same in itertools.groupby(texts))]
        yield f"`{setting.key}`{of}: {', '.join(done) or 'nothing'}"


def _assignment(text):
    """The option as code, and what it becomes behind it."""
    option, _, rest = text.partition(" ")
    if rest in (AS_SENT, IN_ANOTHER_FORM, "="):
        return f"`{option}` {'emptied' if rest == '=' else rest}"
    return f"`{text}`"


def _reading(settings, reading):
    """What a read of all settings reports, and does not."""
    effective = [setting.key for setting in settings if setting.has_effect]
    left_out = [f"`{key}`" for key in effective if key not in reading.reported]
    further = [f"`{key}`" for key in reading.reported if key not in effective]
    yield _wrap(f"{reading.path} reports all of these when none is named"
                + (f", but {', '.join(left_out)}" if left_out else "") + "."
                + (f" It reports {', '.join(further)} too." if further else ""))
    by_value = {}
    for key, value in reading.while_unset.items():
        by_value.setdefault(value, []).append(f"`{key}`")
    yield _bullets("While they are unset, only these are reported:", [
        f'as "{value}": {", ".join(keys)}' for value, keys in by_value.items()])


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
