# SPDX-License-Identifier: Apache-2.0
"""Plots of what grows, as SVG that is the same for the same figures."""
import matplotlib

matplotlib.use("svg")
matplotlib.rcParams.update({"svg.hashsalt": "aerolink", "svg.fonttype": "none", "font.size": 10,
                            "axes.spines.top": False, "axes.spines.right": False})

from matplotlib import pyplot  # noqa: E402  the kind of output must be chosen first

from measures.goals import log_figures  # noqa: E402


LICENSE = "<!-- SPDX-License-Identifier: Apache-2.0 -->"


def save(figure, path, title):
    figure.tight_layout()
    figure.savefig(path, metadata={"Date": None, "Creator": None, "Title": title})
    pyplot.close(figure)
    # matplotlib knows no licenses, and leaves blanks at the ends of lines.
    head, *rest = (line.rstrip() for line in path.read_text(encoding="utf-8").splitlines())
    path.write_text("\n".join([head, LICENSE, *rest, ""]), encoding="utf-8")


def settings(samples, path):
    figure, axes = pyplot.subplots(figsize=(6.4, 3.6))
    cases = sorted({case for case, _ in samples.rounds}, key=int)
    for name, text, style in (("script", "a script with a uci set a write", "C1s-"), ("plugin", "the plug-in", "C0o-"),
                              ("hand", "the same calls by hand", "C2x--")):
        axes.plot([int(case) for case in cases],
                  [1000 * samples.median(case, name, "processor") for case in cases], style, label=text)
    axes.set(xlabel="settings in a push", ylabel="ms of a processor", ylim=0)
    axes.legend(frameon=False)
    save(figure, path, "A push by its number of settings")


def log(rounds, path):
    figures = log_figures(rounds)
    figure, (left, right) = pyplot.subplots(1, 2, figsize=(6.4, 3.2))
    lines = list(figures)
    left.loglog(lines, [1000 * seconds for _, _, seconds in figures.values()], "C0o-")
    left.set(xlabel="lines", ylabel="ms of a processor")
    right.loglog(lines, [kib / 1024 for _, kib, _ in figures.values()], "C0o-", label="the plug-in")
    right.loglog(lines, [kib / 1024 / share for share, kib, _ in figures.values()], "C2x--", label="the response alone")
    right.set(xlabel="lines", ylabel="MiB")
    right.legend(frameon=False)
    save(figure, path, "The cloud log by its number of lines")


def devices(samples, path):
    figure, axes = pyplot.subplots(figsize=(6.4, 3.6))
    for number, name in enumerate(dict.fromkeys(case for case, _ in samples.rounds)):
        counts = sorted(count for case, count in samples.rounds if case == name)
        axes.loglog(counts, [samples.median(name, count, "processor") for count in counts], f"C{number}o-", label=name)
    axes.set(xlabel="devices", ylabel="s of a processor")
    axes.legend(frameon=False)
    save(figure, path, "Plans by the number of devices")


def draw(folder, measured):
    folder.mkdir(exist_ok=True)
    settings(measured["push growth"], folder / "settings.svg")
    log(measured["log"], folder / "log.svg")
    devices(measured["plans"], folder / "devices.svg")
