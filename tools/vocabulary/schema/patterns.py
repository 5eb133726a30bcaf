# SPDX-License-Identifier: Apache-2.0
"""Checks of the batch tables, said as JSON Schema says patterns: in the regular expressions of ECMA-262.

The tables' dialect is POSIX extended plus \\d \\D \\s \\S \\w \\W, matches bytes, and anchors at line feeds. The
translation has the same meaning for every text of one line in ASCII. A text of several lines it takes as one, so that
an anchored pattern refuses what the router would accept for one of its lines. What it yields is written so that
engines agree about it: no \\d or "." whose meaning depends on a flag.
"""
import string

ASCII = frozenset(map(chr, range(1, 128)))
NOT_NAMED = frozenset("\n")  # what names characters that must not match never matches a line feed
CLASSES = {
    "d": frozenset(string.digits),
    "s": frozenset(" \t\n\v\f\r"),
    "w": frozenset(string.ascii_letters + string.digits + "_"),
}
NAMED = {
    "alpha": frozenset(string.ascii_letters), "digit": CLASSES["d"], "space": CLASSES["s"],
    "alnum": CLASSES["w"] - {"_"}, "upper": frozenset(string.ascii_uppercase),
    "lower": frozenset(string.ascii_lowercase), "punct": frozenset(string.punctuation),
    "xdigit": frozenset(string.hexdigits), "blank": frozenset(" \t"),
    "cntrl": frozenset(c for c in ASCII if c < " " or c == "\x7f"),
    "graph": frozenset(c for c in ASCII if "!" <= c <= "~"), "print": frozenset(c for c in ASCII if " " <= c <= "~"),
}
ESCAPES = {"\t": "\\t", "\n": "\\n", "\v": "\\v", "\f": "\\f", "\r": "\\r"}
SYNTAX = "^$\\.*+?()[]{}|/"


class Untranslatable(ValueError):
    """The pattern has something that cannot be said with the same meaning."""


def translate(pattern):
    """The pattern in ECMA-262, to be searched for anywhere in a text."""
    if not pattern.isascii():
        raise Untranslatable("it counts the bytes of a character")
    out, at, can_repeat = [], 0, False
    while at < len(pattern):
        piece, at, can_repeat = _token(pattern, at, can_repeat)
        out.append(piece)
    return "".join(out)


def _token(pattern, at, can_repeat):
    """The translation of what begins at `at`, where the next token begins, and whether that may be a quantifier."""
    c = pattern[at]
    if c == "\\":
        return _escape(pattern[at + 1:at + 2]), at + 2, True
    if c == "[":
        listed, end = _bracket(pattern, at + 1)
        return _class(*listed), end, True
    if c == ".":
        return "[^\\n]", at + 1, True
    if c in "*+?{":
        if not can_repeat:
            raise Untranslatable(f"nothing stands before {c}")
        quantifier = c if c != "{" else _bounds(pattern, at)
        return quantifier.replace("{,", "{0,"), at + len(quantifier), False
    if c in "^$(|":
        return c, at + 1, False
    if c == ")":
        return c, at + 1, True
    return _literal(c), at + 1, True


def _escape(letter):
    if letter.lower() in CLASSES and letter:
        named = CLASSES[letter.lower()]
        return _class(named, False) if letter.islower() else _class(ASCII - named - NOT_NAMED, True)
    if not letter or letter.isalnum() or letter in "<>`'":
        raise Untranslatable(f"\\{letter} is not the same everywhere")
    return _literal(letter)


def _literal(c):
    return "\\" + c if c in SYNTAX and c != "/" else c


def _bounds(pattern, at):
    end = pattern.find("}", at)
    low, _, high = pattern[at + 1:end].partition(",")
    if end < 0 or not (low + high).isdigit():
        raise Untranslatable("a brace that bounds nothing")
    return pattern[at:end + 1]


def _bracket(pattern, at):
    """What a bracket expression lists, as (characters of ASCII, whether all beyond it too), and where it ends."""
    inverted = pattern[at:at + 1] == "^"
    at += inverted
    listed, beyond, first = set(), False, True
    while True:
        c = pattern[at:at + 1]
        if not c:
            raise Untranslatable("a bracket that does not end")
        if c == "]" and not first:
            break
        first = False
        chars, all_beyond, at = _listed(pattern, at)
        listed |= chars
        beyond |= all_beyond
    if inverted:
        listed, beyond = ASCII - listed, not beyond
    if inverted or beyond:
        listed = listed - NOT_NAMED
    return (frozenset(listed), beyond), at + 1


def _listed(pattern, at):
    """One element of a bracket expression: its characters, whether all beyond ASCII, and where the next begins."""
    c, after = pattern[at], pattern[at + 1:at + 2]
    if c == "[" and after in (":", ".", "="):
        end = pattern.find(after + "]", at + 2)
        name = pattern[at + 2:end]
        if after != ":" or end < 0 or name not in NAMED:
            raise Untranslatable(f"[{after} in a bracket")
        return NAMED[name], False, end + 2
    if c == "\\" and after and after.lower() in CLASSES:
        named = CLASSES[after.lower()]
        return (named, False, at + 2) if after.islower() else (ASCII - named, True, at + 2)
    if c == "\\" and after in ("\\", "/"):
        return {after}, False, at + 2
    if after == "-" and pattern[at + 2:at + 3] not in ("", "]"):
        return _range(c, pattern[at + 2]), False, at + 3
    return {c}, False, at + 1


def _range(first, last):
    if first > last or last in "[\\":
        raise Untranslatable(f"the range {first}-{last}")
    return {chr(code) for code in range(ord(first), ord(last) + 1)}


def char_class(characters):
    """What matches one of these characters of ASCII."""
    return _class(frozenset(characters), False)


def _class(listed, beyond):
    """A bracket expression of ECMA-262."""
    if beyond:
        return f"[^{_ranges(ASCII - listed)}]"
    if not listed:
        raise Untranslatable("a bracket that matches nothing")
    return f"[{_ranges(listed)}]"


def _ranges(characters):
    codes = sorted(map(ord, characters))
    out, start = [], 0
    for index, code in enumerate(codes):
        if index + 1 < len(codes) and codes[index + 1] == code + 1:
            continue
        run = codes[start:index + 1]
        out += [run[0], "-", run[-1]] if len(run) > 3 else run
        start = index + 1
    return "".join(piece if piece == "-" else _in_class(chr(piece)) for piece in out)


def _in_class(c):
    if c in ESCAPES:
        return ESCAPES[c]
    if c < " " or c == "\x7f":
        return f"\\x{ord(c):02x}"
    return "\\" + c if c in "\\]^-[" else c
