# SPDX-License-Identifier: Apache-2.0
"""Plans chunks on the workers of a running Dask cluster."""
import logging
import time

import worker

SECONDS_TO_CONNECT = 5
SECONDS_TO_CLOSE = 5
SECONDS_WITHOUT_WORKERS = 60
SECONDS_A_LOOK = 1


class Unreachable(Exception):
    """The cluster, or what it needs, is not there."""


class Cluster:
    """Sends chunks to the workers. Dask itself sends those of a worker that is lost to another one."""

    packed = True

    def __init__(self, address, order):
        try:
            import cloudpickle
            from distributed import Client, wait
        except ImportError as failure:
            raise Unreachable(f"--scheduler needs Dask (the Debian package python3-distributed): {failure}") from None
        self.wait = wait
        cloudpickle.register_pickle_by_value(worker)
        logging.disable()  # what Dask copes with itself is nobody's business, and the rest is raised
        try:
            self.client = Client(address, timeout=SECONDS_TO_CONNECT)
        except (OSError, ValueError) as failure:
            raise Unreachable(f"there is no scheduler at {address}: {failure}") from None
        self.found, self.asked, self.last_seen = {}, 0, time.monotonic()
        try:
            self.check_workers(order)
        except Exception:
            self.close()
            raise

    def check_workers(self, order):
        deadline = time.monotonic() + SECONDS_TO_CONNECT
        while not self.workers():
            if time.monotonic() > deadline:
                raise Unreachable("the cluster has no workers")
            time.sleep(SECONDS_A_LOOK)
        unfit = self.client.run(worker.why_unfit, worker.version(order["program"]), order | {"program": None})
        if any(unfit.values()):
            raise Unreachable("\n".join(f"worker {address}: {why}" for address, why in sorted(unfit.items()) if why))

    def workers(self):
        """How many threads all workers have, as a look at the scheduler every other second finds them."""
        now = time.monotonic()
        if now - self.asked > SECONDS_A_LOOK:
            self.found, self.asked = self.client.scheduler_info()["workers"], now
        if self.found:
            self.last_seen = now
        return sum(each["nthreads"] for each in self.found.values())

    def window(self):
        return 2 * self.workers() + 2

    def submit(self, chunk, order):
        return self.client.submit(worker.plan_chunk, chunk, order | {"program": None}, pure=False)

    def is_done(self, future, seconds):
        try:
            self.wait([future], timeout=seconds)
        except TimeoutError:
            return False
        return True

    def why_stuck(self):
        """What to give up for, if there is anything."""
        if self.workers() or time.monotonic() - self.last_seen < SECONDS_WITHOUT_WORKERS:
            return None
        return f"the cluster has had no workers for {SECONDS_WITHOUT_WORKERS} seconds"

    def explain(self, failure):
        """What it means that a chunk could not be had. Whatever a worker raises has lost its class on the way."""
        match type(failure).__name__:
            case "CannotPlan":
                return f"a worker cannot plan: {failure}"
            case "CancelledError":
                return "the scheduler is gone"
            case "KilledWorker":
                return f"workers are killed again and again: {failure}"
        return f"{type(failure).__name__}: {failure}"

    def close(self):
        self.client.close(timeout=SECONDS_TO_CLOSE)
