# SPDX-License-Identifier: Apache-2.0
"""The settings that a model takes by a route, found out by rehearsing requests with the plug-in itself."""
import re
from dataclasses import dataclass, field
from functools import cached_property

from patterns import translate

FOREIGN_WORD = "foreign"
# What tells the tables' checks apart.
PROBES = ("", "x", "1234567", "12345678", "n" * 33, "k" * 63, "k" * 64, "300.1.1", "a.b.c.d", "10.0.0.300",
          "see 10.0.0.1", "file://x", "http://", "http://x", "://x", "http:// x", "an http://x")
FILLERS = ("x", '"', "'", " ")  # a shell treats some characters specially, and a command has only so much room
ASCII = [chr(code) for code in range(1, 128)]
SERVICE_CODE = "ABCD12345678"
USUAL_LIMIT = 511  # bytes, tried first
LONGEST = 4096  # bytes tried
CONTROLS = [chr(code) for code in (*range(1, 32), 127)]
SHORTEST = 12   # bytes up to which a least length is looked for


class Unexplained(Exception):
    """The plug-in refuses by a rule that a schema cannot say yet."""


@dataclass
class Setting:
    """What a route of a model does with a key of text."""
    key: str
    uci: list = field(default_factory=list)      # options that it changes, in order of writing
    effects: list = field(default_factory=list)  # all else that it causes, "{value}" standing for the value
    by_value: list = field(default_factory=list)  # (values, what they do) where that is not plain; see _by_value
    check: str | None = None  # pattern of the batch tables that a value must match
    words: tuple = ()         # all that are taken; empty: any text
    max_bytes: int | None = None  # null: longer than was tried
    min_bytes: int = 0
    forbidden: str = ""       # characters that no value may have
    not_first: str = ""       # further ones that it may not begin with
    first_time: str = "no"    # whether it is written while its option is unset: no, yes, unchecked
    silent: bool = False      # whether a value that fails the check, or is none of the words, goes unanswered
    written_anyway: bool = False  # whether a value that is answered as refused is written all the same
    after_full_read: list | None = None  # options once a full read has swapped the keys; null: no difference
    repeater: list | None = None  # options still written while the repeater uplink is up; null: no difference

    @property
    def has_effect(self):
        return bool(self.uci or self.effects)

    @property
    def pattern(self):
        return None if self.check is None else translate(self.check)


def settings(plugin, model, route):
    """The settings of the model that the route looks at, in the order of the table of keys. A model that does to four
    telling devices what an earlier one does is taken for the same."""
    study = _Study(plugin, model, route)
    return plugin.remembered.setdefault(study.fingerprint(), study).settings


class _Study:
    def __init__(self, plugin, model, route):
        self.plugin, self.route = plugin, route
        self.texts = {key: row for key, row in plugin.meanings.items() if row.kind == "text"}
        # Digests depend on the service code.
        self.filled = {**plugin.filled(model), "service_code": SERVICE_CODE}
        self.empty = {**plugin.empty(model), "service_code": SERVICE_CODE}
        self.repeater = {**self.filled, "repeater": True}
        self.swapped = {**self.filled, "full_read_done": True}
        self.begin_with = {}  # what a value of any length begins with, so that its check passes

    def fingerprint(self):
        examples = {key: row.example for key, row in self.texts.items()}
        plans = self._plans([(device, examples) for device in (self.filled, self.empty, self.repeater, self.swapped)])
        return self.route, str([(plan["response"], plan["keys"], plan["effects"]) for plan in plans])

    @cached_property
    def settings(self):
        plan, = self._plans([(self.filled, {key: row.example for key, row in self.texts.items()})])
        known = [row["key"] for row in plan["keys"] if row["outcome"] != "unknown"]
        found = {key: Setting(key) for key in self.texts if key in known}
        self._find_effects(found)
        effective = {key: setting for key, setting in found.items() if setting.has_effect}
        self._find_words(effective)
        self._find_checks({key: setting for key, setting in effective.items() if not setting.words})
        self._find_forbidden({key: setting for key, setting in effective.items() if not setting.words})
        self._find_lengths({key: setting for key, setting in effective.items() if not setting.words})
        self._find_conditions(effective)
        return list(found.values())

    def _plans(self, plays):
        return self.plugin.rehearse([(device, self.route, request) for device, request in plays])

    def _accepted(self, requests, device=None):
        """For each request (key to value) the keys whose value is accepted."""
        return [{key for key in request if is_accepted(plan, key)}
                for request, plan in zip(requests, self._plans([(device or self.filled, each) for each in requests]))]

    # --- Effects: what a request with one key does that an empty one does not

    def _find_effects(self, found):
        plays = [(key, value) for key in found
                 for value in dict.fromkeys((self.texts[key].example, self.texts[key].other, *self.texts[key].words))]
        nothing, *plans = self._plans([(self.filled, {})] + [(self.filled, {key: value}) for key, value in plays])
        for key, setting in found.items():
            words = self.texts[key].words
            own = [(value, _beyond(nothing, plan)) for (played, value), plan in zip(plays, plans) if played == key]
            options = [[effect["path"] for effect in effects if effect["kind"] == "set"] for _, effects in own]
            setting.uci = _unique(path for paths in sorted(options, key=len, reverse=True) for path in paths)
            setting.effects = _others(own)
            own.sort(key=lambda play: words.index(play[0]) if words else 0)
            setting.by_value = _by_value(own, self.texts[key].secret)

    # --- Values

    def _find_words(self, found):
        """A set of words is closed when another word is refused."""
        named = {key: setting for key, setting in found.items() if self.texts[key].words}
        foreign, = self._accepted([dict.fromkeys(named, FOREIGN_WORD)])
        for key, setting in named.items():
            if key not in foreign:
                setting.words = self.texts[key].words
        closed = {key: setting for key, setting in named.items() if setting.words}
        for index in range(max((len(setting.words) for setting in closed.values()), default=0)):
            request = {key: setting.words[index] for key, setting in closed.items() if index < len(setting.words)}
            refused = set(request) - self._accepted([request])[0]
            if refused:
                raise Unexplained(f"of the words of {sorted(refused)} not all are taken")

    def _find_checks(self, found):
        """The pattern of the tables, if one says of every probe whether it is accepted."""
        candidates = {key: self.plugin.patterns.get(key, []) for key in found}
        checked = {key: found[key] for key in found if candidates[key]}
        accepted = self._accepted([dict.fromkeys(checked, probe) for probe in PROBES])
        for key, setting in checked.items():
            verdicts = [key in keys for keys in accepted]
            if all(verdicts):
                continue
            fitting = [pattern for pattern in candidates[key]
                       if verdicts == [_matches(pattern, probe) for probe in PROBES]]
            if len(fitting) != 1:
                raise Unexplained(f"{self.route}: {key} accepts {[p for p, v in zip(PROBES, verdicts) if v]}")
            setting.check = fitting[0]

    def _find_lengths(self, found):
        limits = {}
        self.begin_with = {key: self.texts[key].example if setting.check else "" for key, setting in found.items()}
        for filler in FILLERS:
            # Nearly all are limited alike, and the other fillers rarely change a limit.
            tried = {key: limits.get(key, USUAL_LIMIT) for key in found if filler not in found[key].forbidden}
            fits, = self._accepted([self._padded(tried, filler)])
            least = {key: len(self.texts[key].example) for key in tried if key not in fits}
            limits |= self._longest(least, tried, filler)
            if filler == FILLERS[0]:
                limits |= self._beyond_usual([key for key in tried if key in fits], filler)
        accepted = self._accepted([dict.fromkeys(found, "x" * length) for length in range(SHORTEST)])
        for key, setting in found.items():
            setting.max_bytes = None if limits[key] >= LONGEST else limits[key]
            setting.min_bytes = next((length for length, keys in enumerate(accepted) if key in keys), 0)

    def _beyond_usual(self, keys, filler):
        fits, = self._accepted([self._padded(dict.fromkeys(keys, USUAL_LIMIT + 1), filler)])
        longer = dict.fromkeys(fits, USUAL_LIMIT + 1)
        return dict.fromkeys(keys, USUAL_LIMIT) | self._longest(longer, dict.fromkeys(fits, LONGEST + 1), filler)

    def _longest(self, low, high, filler):
        """Bisects for all keys at once: key to the greatest length that is accepted, from low to below high."""
        low, high = dict(low), dict(high)
        while middle := {key: (low[key] + high[key]) // 2 for key in low if high[key] - low[key] > 1}:
            accepted, = self._accepted([self._padded(middle, filler)])
            for key, length in middle.items():
                (low if key in accepted else high)[key] = length
        return low

    def _padded(self, lengths, filler):
        return {key: self.begin_with[key].ljust(length, filler) for key, length in lengths.items()}

    def _find_forbidden(self, found):
        """Which control characters a configuration cannot hold is the same for all keys whose value only goes there."""
        first = next(iter(found))
        accepted = self._accepted([{first: self.texts[first].example + c} for c in CONTROLS])
        forbidden = "".join(c for c, keys in zip(CONTROLS, accepted) if not keys)
        if forbidden:
            fits, = self._accepted([{key: self.texts[key].example + forbidden[0] for key in found}])
            for key in found.keys() - fits:
                found[key].forbidden = forbidden
        self._find_picky(found)

    def _find_picky(self, found):
        """A build may refuse what a shell treats specially; of such keys every character is asked."""
        accepted = self._accepted([{key: self.texts[key].example + filler for key in found} for filler in FILLERS])
        picky = {key: found[key] for key in found if any(key not in keys for keys in accepted)}
        if not picky:
            return
        ends = self._accepted([{key: self.texts[key].example + c for key in picky} for c in ASCII])
        starts = self._accepted([{key: c + self.texts[key].example for key in picky} for c in ASCII])
        for key, setting in picky.items():
            setting.forbidden = "".join(c for c, keys in zip(ASCII, ends) if key not in keys)
            setting.not_first = "".join(c for c, keys in zip(ASCII, starts)
                                        if key not in keys and c not in setting.forbidden)

    # --- Conditions

    def _find_conditions(self, found):
        good = {key: self.texts[key].example for key in found}
        bad = {key: _refused_by(setting.check) for key, setting in found.items()}
        plans = {name: dict(zip(found, self._plans([(device, {key: values[key]}) for key in found])))
                 for name, device, values in (
                     ("usual", self.filled, good), ("refused", self.filled, bad),
                     ("unset", self.empty, good), ("unset, refused", self.empty, bad),
                     ("repeater", self.repeater, good),
                     ("swapped", self.swapped, good))}
        for key, setting in found.items():
            written = {name: _written(by_key[key]) for name, by_key in plans.items()}
            setting.silent = bool(setting.check or setting.words) and key not in plans["refused"][key]["response"]
            setting.written_anyway = key in plans["refused"][key]["response"] and bool(written["refused"])
            if written["unset"] or (not setting.uci and is_accepted(plans["unset"][key], key)):
                is_checked = setting.check is None or not is_accepted(plans["unset, refused"][key], key)
                setting.first_time = "yes" if is_checked else "unchecked"
            if written["repeater"] != written["usual"]:
                setting.repeater = written["repeater"]
            if written["swapped"] != written["usual"]:
                setting.after_full_read = written["swapped"]


def is_accepted(plan, key):
    """Whether the value has an effect and is not answered as refused."""
    outcome = next(row["outcome"] for row in plan["keys"] if row["key"] == key)
    return outcome in ("changed", "same", "applied") and key not in plan["response"]


def _written(plan):
    return _unique(effect["path"] for effect in _done(plan) if effect["kind"] == "set")


def _done(plan):
    """The effects, but for written options whose section the device lacks."""
    return [effect for effect in plan["effects"] if effect["kind"] != "set" or not effect.get("failed")]


def _beyond(nothing, plan):
    """The plan's effects that an empty request does not have, without log lines."""
    left = [_comparable(effect) for effect in nothing["effects"]]
    out = []
    for effect in _done(plan):
        if _comparable(effect) in left:
            left.remove(_comparable(effect))
        elif effect["kind"] != "log":
            out.append(effect)
    return out


def _comparable(effect):
    return {name: value for name, value in effect.items() if name != "key"}


def _others(plays):
    """What (value, effects) pairs cause beside writing options, as texts. What several values cause alike but for the
    value itself has "{value}" in its place."""
    texts = [(value, [_text(effect) for effect in effects if effect["kind"] != "set"]) for value, effects in plays]
    plain = [text for _, lines in texts for text in dict.fromkeys(lines)]
    templates = [text.replace(value, "{value}") for value, lines in texts if value for text in dict.fromkeys(lines)]
    out = []
    for value, lines in texts:
        for text in lines:
            template = text.replace(value, "{value}") if value else text
            is_alike = templates.count(template) > 1 and plain.count(text) == 1
            out.append(template if is_alike else text)
    return _unique(out)


AS_SENT, IN_ANOTHER_FORM = "as sent", "in another form"


def _by_value(plays, is_secret):
    """[(values, texts)]: what (value, effects) pairs come to, those together that come to the same; empty where all only
    write the value as it was sent. No values stand for any."""
    derived = {effect["path"] for value, effects in plays for effect in effects
               if effect["kind"] == "set" and effect["value"] != value}
    found = {}
    for value, effects in plays:
        texts = (_outcome(effect, value, derived, is_secret) for effect in effects)
        found.setdefault(tuple(texts), []).append(value)
    if len(found) > 1:
        return [(values, list(texts)) for texts, values in found.items()]
    [texts] = found
    is_plain = all(text.endswith(AS_SENT) for effect, text in zip(plays[0][1], texts) if effect["kind"] == "set")
    return [] if is_plain else [([], list(texts))]


def _outcome(effect, value, derived, is_secret):
    """derived: the options that do not get every value as it was sent."""
    if effect["kind"] != "set":
        text = _text(effect)
        return text.replace(value, "{value}") if len(value) > 1 else text
    if effect["path"] not in derived:
        return f"{effect['path']} {AS_SENT}"
    return f"{effect['path']} {IN_ANOTHER_FORM if is_secret and effect['value'] else '= ' + effect['value']}".rstrip()


def _text(effect):
    subject = next((effect[name] for name in ("path", "package", "command", "file", "interface") if name in effect), "")
    assignment = f" {effect['parameter']}={effect['value']}" if effect["kind"] == "iwpriv" else ""
    return f"{effect['kind']} {subject}{assignment}".strip()


def _matches(pattern, text):
    return re.search(translate(pattern), text) is not None


def _refused_by(check):
    """A text that the check refuses, and that has no other fault."""
    return next(probe for probe in ("12345", "k" * 64) if check is None or not _matches(check, probe))


def _unique(items):
    return list(dict.fromkeys(items))


@dataclass
class Reading:
    """What a route that reads settings reports when all are asked for."""
    path: str
    reported: list   # of a device whose options are all set
    while_unset: dict  # key to value, of one whose options are all unset


def reading(plugin, model, route):
    full, bare = plugin.rehearse([(device, route, {}) for device in (plugin.filled(model), plugin.empty(model))])
    return Reading(route, list(full["response"]), bare["response"])


def ending(plugin, model, route):
    """What every request does, an empty one too, as texts."""
    plan, = plugin.rehearse([(plugin.models[model], route, {})])
    return [_text(effect) for effect in plan["effects"] if effect["kind"] != "log"]
