# SPDX-License-Identifier: Apache-2.0
"""The tables of docs/performance.md, each between two comments that carry its name."""
import datetime
import os
import platform
import re
from collections import defaultdict
from pathlib import Path

from measures.goals import GOALS, log_figures
from measures.inside import HTTP_PATHS, HTTP_REQUESTS
from measures.outside import DEVICES

SLOWEST = 10


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|---" + "|---:" * (len(head) - 1) + "|"]
    return "\n".join([*lines, *("| " + " | ".join(row) + " |" for row in rows)]) + "\n"


def ms(seconds):
    value = seconds * 1000
    return f"{value:.0f}" if value >= 100 else f"{value:.1f}" if value >= 1 else f"{value:.3f}"


def times(value):
    return f"{value:.0f}" if value >= 100 else f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def machine(rounds, load):
    def found(path, pattern):
        hit = re.search(pattern, Path(path).read_text(encoding="utf-8"), re.MULTILINE)
        return hit[1].strip() if hit else "0"

    processor = found("/proc/cpuinfo", r"^model name\s*: (.*)$")
    memory = int(found("/proc/meminfo", r"^MemTotal: +(\d+) kB")) / (1 << 20)
    system = platform.freedesktop_os_release().get("PRETTY_NAME", "unknown")
    return (f"Measured on {datetime.date.today().isoformat()} on {os.cpu_count()} processors ({processor}), "
            f"{memory:.0f} GiB of memory, {system},\n"
            f"Linux {platform.release()}; {rounds} rounds; the machine's load was {load:.1f} when it began.\n")


def goals(measured):
    rows = []
    for goal in GOALS:
        value = measured[goal.name]
        miss = max(value / goal.limit, goal.limit / value) - 1
        rows.append((goal.text, goal.bound(), times(value),
                     "yes" if goal.holds(value) else f"no, by {100 * miss:.0f} %"))
    return table(("goal", "limit", "measured", "holds"), rows)


def ways(samples, case, names):
    """A row a way: its times, and how often they go into those of the plug-in."""
    return table(("way", "ms", "ms of a processor", "plug-in takes, times", "of a processor, times"),
                 [(text, ms(samples.median(case, name)), ms(samples.median(case, name, "processor")),
                   times(samples.ratio(case, "plugin", name, "wall")), times(samples.ratio(case, "plugin", name)))
                  for name, text in names.items()])


def push(samples):
    case = next(case for case, _ in samples.rounds)
    reads, writes, commands = (int(count) for count in samples.facts["calls", case])
    head = f"{case} settings are {reads} reads, {writes} writes and {commands} commands.\n\n"
    return head + ways(samples, case, {
        "plugin": "the plug-in", "hand": "the same reads, writes and commands", "commands": "the commands alone",
        "batch": "`uci batch` of the writes", "script": "a script with a `uci set` a write"})


def push_growth(samples):
    cases = sorted({case for case, _ in samples.rounds}, key=int)
    names = {"plugin": "the plug-in", "hand": "by hand", "script": "a script"}
    return table(("settings", *(f"{text}, ms" for text in names.values()), "plug-in / by hand"),
                 [(case, *(ms(samples.median(case, name, "processor")) for name in names),
                   times(samples.ratio(case, "plugin", "hand"))) for case in cases])


def read(samples):
    reads, _, _ = (int(count) for count in samples.facts["calls", "read"])
    return f"A full read has {reads} reads and one command.\n\n" + ways(samples, "read", {
        "plugin": "the plug-in", "command": "`cat /tmp/reboot_flag`, the command", "show": "`uci show`"})


def patterns(samples, pushed):
    pushes, checks = samples.facts["checks", "patterns"]
    case = next(case for case, _ in pushed.rounds)
    whole = pushed.median(case, "plugin", "processor")
    compiled, used, _ = pushed.facts["patterns", case]

    def row(name, text):
        seconds = samples.median("patterns", name, "processor") / pushes
        return text, ms(seconds), f"{100 * seconds / whole:.1f} %"

    head = (f"The push has {checks:.0f} checked values. Among everything else that it does, it takes {ms(compiled)} ms "
            f"of a processor to compile\ntheir patterns and {ms(used)} ms to match them. The checks alone, one push "
            "after the other:\n\n")
    return head + table(
        ("patterns are compiled", "ms a push", "of the push"),
        [row("as_asked", "at each check, for a yes or no (what the plug-in does)"),
         row("with_groups", "at each check, with the places of groups"),
         row("once", "once in the life of the process")])


def http(samples):
    texts = {"empty": "an empty handler", "named": "a read of one setting by name", "link": "the state of the link",
             "read": "a full read, with its command"}
    return table(("request", "requests a second", "of those of an empty handler"),
                 [(texts[name], f"{HTTP_REQUESTS / samples.median('http', path):,.0f}",
                   f"{100 / samples.ratio('http', path, HTTP_PATHS['empty'], 'wall'):.0f} %")
                  for name, path in HTTP_PATHS.items()])


def log(rounds):
    return table(("lines", "memory, MiB", "of the response", "ms of a processor", "µs a line"),
                 [(f"{lines:,}", f"{kib / 1024:.1f}", times(share), ms(seconds), f"{1e6 * seconds / lines:.2f}")
                  for lines, (share, kib, seconds) in log_figures(rounds).items()])


def uci(samples):
    goal_ms = {"show": 15, "batch": 1000, "commit": 15}
    texts = {"show": "`show`", "batch": "`batch` of 300 `set`", "commit": "`commit` of them",
             "sort": "sorting its lines"}
    return table(("on 3,000 sections", "ms", "ms of a processor", "goal, ms", "of a processor, times sorting"),
                 [(text, ms(samples.median("uci", name)), ms(samples.median("uci", name, "processor")),
                   str(goal_ms.get(name, "-")), times(samples.ratio("uci", name, "sort")))
                  for name, text in texts.items()])


def plans(samples):
    pushes = list(dict.fromkeys(case for case, _ in samples.rounds))
    return table(("devices", *(f"{name}, a second" for name in pushes)),
                 [(f"{count:,}", *(f"{count / samples.median(name, count, 'processor'):,.0f}" for name in pushes))
                  for count in DEVICES])


def starts(samples):
    texts = {"container": "an empty container", "box": "a box, to its first answer",
             "run": "a second `./run`, to its first answer"}
    return table(("start", "ms", "times the box"),
                 [(text, ms(samples.median("start", name)), times(samples.ratio("start", name, "box", "wall")))
                  for name, text in texts.items()])


def tests(recorded):
    found, count = recorded
    if not found:
        return "There was no record of a run of `./test` in the build folder.\n"
    groups = defaultdict(float)
    for name, seconds in found.items():
        groups[name.partition(".")[0]] += seconds
    head = (f"Seconds, added up over the tests of a group as if they ran one after the other; {len(found)} of {count} "
            "tests have been run in\nthis build folder.\n\n")
    by_group = table(("group", "tests", "s"), [
        (f"`{group}`", str(sum(name.partition(".")[0] == group for name in found)), f"{seconds:.0f}")
        for group, seconds in sorted(groups.items(), key=lambda item: -item[1])])
    slowest = sorted(found.items(), key=lambda item: -item[1])[:SLOWEST]
    return head + by_group + "\n" + table(("slowest", "s"),
                                          [(f"`{name}`", f"{seconds:.0f}") for name, seconds in slowest])


def put(text, blocks):
    """The document with each block in its place."""
    for name, content in blocks.items():
        place = re.compile(rf"(<!-- {name} -->\n)(.*?)(<!-- end -->)", re.DOTALL)
        text, count = place.subn(lambda found, content=content: found[1] + content + found[3], text)
        if count != 1:
            raise ValueError(f"the document has {count} places for {name}, not one")
    return text
