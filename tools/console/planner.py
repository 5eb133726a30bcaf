# SPDX-License-Identifier: Apache-2.0
"""Asks the command `aerolink`: plans from one process that runs on, and the vocabulary of keys."""
import asyncio
import contextlib
import ctypes
import hashlib
import json
import os
import signal
from pathlib import Path

ANSWER_SECONDS = 30
CLOSE_SECONDS = 5
KEYS_SECONDS = 180  # to find out what a model takes, on a busy machine
LINE_LIMIT = 32 << 20
PR_SET_PDEATHSIG = 1
LIBC = ctypes.CDLL(None)


class Unavailable(Exception):
    """There is no plan; says why."""


class Planner:
    def __init__(self, program):
        self.program = program
        self.process = None
        self.lock = asyncio.Lock()
        self.asked = {}  # arguments of `aerolink keys`: task

    async def plans(self, snapshots):
        """A plan for each snapshot, which has its request and route with it."""
        async with self.lock:
            try:
                return await asyncio.wait_for(self.ask(snapshots), ANSWER_SECONDS)
            except (OSError, ValueError, asyncio.TimeoutError, asyncio.IncompleteReadError) as error:
                self.stop()
                raise Unavailable(f"{self.program} plan --stream gave no answer: {error or type(error).__name__}"
                                  ) from error
            except asyncio.CancelledError:
                # What is still to come answers nobody: the next question needs a process of its own.
                self.stop()
                raise

    async def ask(self, snapshots):
        if self.process is None or self.process.returncode is not None:
            self.process = await asyncio.create_subprocess_exec(
                self.program, "plan", "--stream", stdin=asyncio.subprocess.PIPE, stdout=asyncio.subprocess.PIPE,
                limit=LINE_LIMIT, **OF_ITS_OWN)
        answers = []
        for snapshot in snapshots:
            self.process.stdin.write(json.dumps(snapshot).encode() + b"\n")
            await self.process.stdin.drain()
            line = await self.process.stdout.readuntil(b"\n")
            answers.append(json.loads(line))
        return answers

    def stop(self):
        """Ends the process, if there is one; it is returned."""
        process, self.process = self.process, None
        if process is not None and process.returncode is None:
            process.stdin.close()
            with contextlib.suppress(ProcessLookupError):
                process.kill()
        return process

    async def close(self):
        for task in self.asked.values():
            task.cancel()
        await asyncio.gather(*self.asked.values(), return_exceptions=True)
        process = self.stop()
        if process is not None:
            with contextlib.suppress(asyncio.TimeoutError):
                await asyncio.wait_for(process.wait(), CLOSE_SECONDS)

    async def meanings(self):
        """What every key of every route means, by its name."""
        return {row["name"]: row for row in await self.rows()}

    async def keys(self, model, route):
        """The keys of a route on a model, as a form needs them."""
        meanings = await self.meanings()
        return [form_row(row, meanings[row["name"]]) for row in await self.rows("--model", model, "--route", route)]

    async def rows(self, *arguments):
        """What `aerolink keys` tells, asked once for all who want to know."""
        if arguments not in self.asked or is_failed(self.asked[arguments]):
            self.asked[arguments] = asyncio.create_task(self.ask_for_keys(*arguments))
        return await asyncio.shield(self.asked[arguments])

    async def ask_for_keys(self, *arguments):
        """As rows does; from one start to the next, since the answer about a model takes seconds to find out."""
        kept = cache_folder() / f"keys-{self.fingerprint(arguments)}.json"
        with contextlib.suppress(OSError, ValueError):
            return json.loads(kept.read_text(encoding="utf-8"))
        rows = await self.find_out_keys(*arguments)
        with contextlib.suppress(OSError):
            kept.parent.mkdir(mode=0o700, parents=True, exist_ok=True)
            new = kept.with_suffix(f".{os.getpid()}")
            new.write_text(json.dumps(rows), encoding="utf-8")
            new.rename(kept)
        return rows

    def fingerprint(self, arguments):
        """Names the answer of these very programs and of the plug-in beside them."""
        program = Path(self.program).absolute()
        helper = program.with_name("aerolink-keys").resolve()
        files = [program, program.parent.with_name("aerolink.so"), *sorted(helper.parent.glob("*"))]
        facts = [(str(file), file.stat().st_size, file.stat().st_mtime_ns) for file in files if file.is_file()]
        return hashlib.sha256(repr((facts, arguments)).encode()).hexdigest()[:32]

    async def find_out_keys(self, *arguments):
        process = None
        try:
            process = await asyncio.create_subprocess_exec(
                self.program, "keys", *arguments, "--json", stdin=asyncio.subprocess.DEVNULL,
                stdout=asyncio.subprocess.PIPE, stderr=asyncio.subprocess.PIPE, **OF_ITS_OWN)
            output, errors = await asyncio.wait_for(process.communicate(), KEYS_SECONDS)
        except (OSError, asyncio.TimeoutError) as error:
            raise Unavailable(f"{self.program} keys gave no answer: {error}") from error
        finally:
            if process is not None and process.returncode is None:
                process.kill()
        if process.returncode != 0:
            reason = errors.decode(errors="replace").strip().splitlines()[-1:] or [process.returncode]
            raise Unavailable(f"{self.program} keys: {reason[0]}")
        return json.loads(output)["keys"]


def end_with_parent():
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


# A process of the console's own: no Ctrl-C of the terminal reaches it, and it does not outlive the console.
OF_ITS_OWN = {"start_new_session": True, "preexec_fn": end_with_parent}


def cache_folder():
    return Path(os.environ.get("XDG_CACHE_HOME") or Path.home() / ".cache") / "aerolink"


def is_failed(task):
    return task.done() and (task.cancelled() or task.exception() is not None)


def form_row(row, meaning):
    """What a form shows of a key: words that it takes are all (closed) or the common ones."""
    return {"key": row["name"], "options": row["uci"], "closed": bool(row["words"]),
            "words": row["words"] or meaning["words"],
            **{name: row[name] for name in ("title", "unit", "group", "secret", "description", "check", "min_bytes",
                                            "max_bytes")}}
