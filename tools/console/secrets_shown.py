# SPDX-License-Identifier: Apache-2.0
"""Tells what is secret in the texts that the timeline shows, so that a page can hide it.

A text becomes a list of pieces: strings, and {"secret": STRING} for what only shows when asked for. Which keys and
options are secret the vocabulary says; which texts they held is learned from what passes by.
"""
import json
import re

SHORTEST = 4  # of a secret that is looked for in other texts: shorter ones are everywhere
MOST_KNOWN = 500


class Secrets:
    def __init__(self):
        self.keys = set()
        self.options = set()
        self.known = {}  # in the order in which they were learned
        self.patterns = {}

    def add(self, keys, options):
        """Takes more keys and options that are secret."""
        self.keys |= set(keys)
        self.options |= set(options)
        self.patterns = {}

    def learn(self, text):
        if isinstance(text, str) and len(text) >= SHORTEST and text not in self.known:
            self.known[text] = True
            if len(self.known) > MOST_KNOWN:
                del self.known[next(iter(self.known))]
            self.patterns = {}

    def learn_members(self, members):
        """Learns from a request or a response."""
        if isinstance(members, dict):
            for key, value in members.items():
                if key in self.keys:
                    self.learn(value)

    def learn_option(self, path, *values):
        if path in self.options:
            for value in values:
                self.learn(value)

    def pieces(self, text, by_name=True):
        """The text in pieces; by_name: members of JSON whose name says that they are secret are."""
        pieces, end = [], 0
        for match in self.pattern(by_name).finditer(text):
            start, stop = match.span("member") if match["member"] is not None else match.span()
            pieces += [text[end:start], {"secret": text[start:stop]}]
            end = stop
        return [piece for piece in [*pieces, text[end:]] if piece not in ("", {"secret": ""})]

    def value(self, path, value):
        """The pieces of what an option holds."""
        text = "(nothing)" if value is None else value
        return [{"secret": text}] if path in self.options and value else self.pieces(text)

    def pattern(self, by_name):
        """Members of JSON by name, whatever they hold; known texts, however a shell or JSON escapes them."""
        if by_name not in self.patterns:
            self.patterns[by_name] = self.make_pattern(by_name)
        return self.patterns[by_name]

    def make_pattern(self, by_name):
        parts = []
        if by_name and self.keys:
            names = "|".join(sorted(map(re.escape, self.keys), key=len, reverse=True))
            parts.append(rf'"(?:{names})"\s*:\s*"(?P<member>(?:[^"\\]|\\.)*)"')
        else:
            parts.append(r"(?P<member>(?!))")
        for text in sorted(self.known, key=len, reverse=True):
            parts.append("".join(r"\\?" + re.escape(character) for character in text))
        return re.compile("|".join(parts))


def json_text(value):
    return json.dumps(value, ensure_ascii=False)
