# SPDX-License-Identifier: Apache-2.0
"""The conditions of --fail-on: `refused>0,reboot>1%` and the like, each true or false of a summary."""
import operator
import re
from fractions import Fraction
from typing import NamedTuple

from summary import FACTS

OPERATORS = {">": operator.gt, ">=": operator.ge, "<": operator.lt, "<=": operator.le, "=": operator.eq}
NAMES = ("error", *FACTS, "seconds")
CONDITION = re.compile(r"\s*([a-z_]+)\s*(>=|<=|>|<|=)\s*([0-9]{1,12}(?:\.[0-9]{1,6})?)\s*(%?)\s*")


class Condition(NamedTuple):
    text: str
    name: str
    sign: str
    limit: Fraction
    is_share: bool  # the limit is percent of all devices

    def holds(self, summary):
        value = Fraction(str(value_of(self.name, summary)))
        if self.is_share:
            value = 100 * value / summary["devices"] if summary["devices"] else Fraction(0)
        return OPERATORS[self.sign](value, self.limit)


def value_of(name, summary):
    if name == "seconds":
        return summary["slowest"]["seconds"] if summary["slowest"] else 0
    return summary[name] if name == "error" else summary[name]["devices"]


def parse(expression):
    """The conditions of an expression; ValueError names the one that is none."""
    return [parse_one(text) for text in expression.split(",")]


def parse_one(text):
    found = CONDITION.fullmatch(text)
    if not found:
        raise ValueError(f"'{text.strip()}' is no condition: write NAME, one of > >= < <= =, and a number or percent, "
                         "as in refused>0 or reboot>1%")
    name, sign, limit, percent = found.groups()
    if name not in NAMES:
        raise ValueError(f"nothing is counted under '{name}': it can be {', '.join(NAMES)}")
    if name == "seconds" and percent:
        raise ValueError(f"'{text.strip()}': seconds are no share of the devices")
    return Condition(text.strip(), name, sign, Fraction(limit), bool(percent))
