# SPDX-License-Identifier: Apache-2.0
"""Plans chunks on this machine's cores, in processes of its own."""
import concurrent.futures
import contextlib
import os
import pickle
import queue
import signal
import subprocess
import sys

import worker

MOST_TRIES = 4


class Local:
    """As Cluster. A process that is killed costs the time of its chunk: another one plans that anew."""

    packed = False

    def __init__(self, processes):
        self.is_closed = False
        self.threads = concurrent.futures.ThreadPoolExecutor(processes)
        self.processes = [Process() for _ in range(processes)]
        self.idle = queue.SimpleQueue()
        for process in self.processes:
            self.idle.put(process)

    def workers(self):
        return len(self.processes)

    def window(self):
        return self.workers() + self.workers() // 2 + 1

    def submit(self, chunk, order):
        return self.threads.submit(self.plan, chunk, order)

    def plan(self, chunk, order):
        process = self.idle.get()
        try:
            for _ in range(MOST_TRIES):
                if self.is_closed:
                    break
                with contextlib.suppress(EOFError, BrokenPipeError, pickle.UnpicklingError):
                    return process.plan(chunk, order)
                process.end()
            raise worker.CannotPlan(f"the process that plans was killed {MOST_TRIES} times")
        finally:
            self.idle.put(process)

    def is_done(self, future, seconds):
        return bool(concurrent.futures.wait([future], seconds).done)

    def why_stuck(self):
        return None

    def explain(self, failure):
        return str(failure) if isinstance(failure, worker.CannotPlan) else f"{type(failure).__name__}: {failure}"

    def close(self):
        """Ends what is under way."""
        self.is_closed = True
        for process in self.processes:
            process.end()
        self.threads.shutdown(cancel_futures=True)


class Process:
    """A Python process that serves chunks (worker.py), begun when it is needed. It is the first of a session of its
    own: a terminal's Ctrl-C does not reach it, and it can be ended together with its planner."""

    def __init__(self):
        self.running = None

    def plan(self, chunk, order):
        if not self.running:
            self.running = subprocess.Popen([sys.executable, "-B", worker.__file__], stdin=subprocess.PIPE,
                                            stdout=subprocess.PIPE, start_new_session=True)
        pickle.dump((chunk, order), self.running.stdin, pickle.HIGHEST_PROTOCOL)
        self.running.stdin.flush()
        result, failure = pickle.load(self.running.stdout)
        if failure:
            raise worker.CannotPlan(failure)
        return result

    def end(self):
        """May be called while another thread waits for a chunk: that one gets EOFError."""
        running = self.running
        if not running:
            return
        with contextlib.suppress(ProcessLookupError):
            os.killpg(running.pid, signal.SIGKILL)
        running.wait()
        self.running = None


def cores():
    return len(os.sched_getaffinity(0))
