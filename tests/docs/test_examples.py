# SPDX-License-Identifier: Apache-2.0
"""Runs the examples of one document, from top to bottom, and compares what they print.

The document comes from the environment. It begins with a new heron, as ./run starts one, if any command talks to a
router; `$ ./run --model NAME` goes on with a new router of another model. Commands find the tree's devkit, ./aerolink and
the router's state where a reader has them.
"""
import os
import shlex
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from examples import matches, parse
from router import PATIENCE, SOURCE, Router

DOCUMENT = Path(os.environ["DOCUMENT"])
ADDRESS = "127.0.0.1:8080"  # of the API in documents


def model_to_start(command):
    """The model when the command is ./run with at most a model, else None."""
    words = shlex.split(command)
    if words == ["./run"]:
        return "heron"
    return words[2] if words[:2] == ["./run", "--model"] and len(words) == 3 else None


def talks_to_router(command):
    return any(sign in command for sign in (ADDRESS, "devkit/router", "state/"))


def sends_something(command):
    words = shlex.split(command)
    return "--json" in words or "-d" in words


class Desk:
    """The folder that a reader sits in, and the router that runs."""

    def __init__(self, folder):
        self.folder = Path(folder)
        (self.folder / "devkit").symlink_to(SOURCE / "devkit")
        (self.folder / "aerolink").symlink_to(os.environ["AEROLINK"])
        self.router = None

    def start_router(self, model):
        self.stop_router()
        self.router = Router(model, state=self.folder / "state" / model)
        return self.in_words_of_document(f"{model} listens on {self.router.url}")

    def stop_router(self):
        if self.router:
            self.router.stop()

    def run(self, command):
        model = model_to_start(command)
        if model:
            return self.start_router(model)
        host = self.router.url.removeprefix("http://") if self.router else ADDRESS
        done = subprocess.run(["sh", "-c", command.replace(ADDRESS, host)], cwd=self.folder, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=PATIENCE, check=False)
        return self.in_words_of_document(done.stdout)

    def in_words_of_document(self, output):
        return output.replace(self.router.url.removeprefix("http://"), ADDRESS) if self.router else output

    def output_of(self, example):
        """What the command prints. A mere look is repeated until it shows what it should: a request's effects may
        end after its response."""
        output = self.run(example.command)
        deadline = time.monotonic() + PATIENCE
        while not sends_something(example.command) and not matches(example.output, output) \
                and not model_to_start(example.command) and time.monotonic() < deadline:
            time.sleep(0.1)
            output = self.run(example.command)
        return output


class Examples(unittest.TestCase):
    def test_every_example(self):
        examples = parse(DOCUMENT.read_text(encoding="utf-8"))
        self.assertTrue(examples, "there are examples")
        desk = Desk(self.enterContext(tempfile.TemporaryDirectory(prefix="desk-")))
        self.addCleanup(desk.stop_router)
        if not model_to_start(examples[0].command) and any(talks_to_router(each.command) for each in examples):
            desk.start_router("heron")
        for example in examples:
            output = desk.output_of(example)
            if not matches(example.output, output):
                self.fail(f"{DOCUMENT}:{example.line}: $ {example.command}\n"
                          f"--- shown\n{example.output}--- printed\n{output}")


if __name__ == "__main__":
    unittest.main()
