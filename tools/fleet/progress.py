# SPDX-License-Identifier: Apache-2.0
"""A line on the terminal that says how far a fleet is."""
import os
import sys
import time

SECONDS_A_LOOK = 0.2
BAR = 24


class Progress:
    """Shows nothing when standard error is no terminal."""

    def __init__(self, size):
        self.size = size  # of the input, None when nobody knows
        self.started = time.monotonic()
        self.shown = 0.0
        self.is_terminal = sys.stderr.isatty()
        self.read = 0     # of the input, as far as it is planned

    def show(self, devices):
        now = time.monotonic()
        if not self.is_terminal or now - self.shown < SECONDS_A_LOOK:
            return
        self.shown = now
        self.write(self.line(devices, now - self.started))

    def line(self, devices, seconds):
        rate = devices / seconds if seconds else 0
        parts = [f"{devices:,} devices", f"{rate:,.0f}/s"]
        if self.size:
            share = min(1.0, self.read / self.size)
            done = round(BAR * share)
            parts.insert(0, f"[{'#' * done}{'.' * (BAR - done)}] {100 * share:3.0f}%")
            if share:
                parts.append(f"{duration(seconds * (1 - share) / share)} left")
        return "  ".join(parts)

    def write(self, text):
        width = max(10, (os.get_terminal_size(sys.stderr.fileno()).columns or 80) - 1)
        sys.stderr.write("\r\x1b[K" + text[:width])
        sys.stderr.flush()

    def end(self, devices):
        """Leaves the terminal one line: how long it took."""
        if self.is_terminal:
            seconds = time.monotonic() - self.started
            self.write(f"{devices:,} devices in {seconds:,.1f} s, {devices / seconds:,.0f}/s" if seconds else "")
            sys.stderr.write("\n")


def duration(seconds):
    minutes, seconds = divmod(round(seconds), 60)
    hours, minutes = divmod(minutes, 60)
    return f"{hours}:{minutes:02}:{seconds:02}" if hours else f"{minutes}:{seconds:02}"
