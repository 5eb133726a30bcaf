# SPDX-License-Identifier: Apache-2.0
"""What the daemon makes of failures of poll: a signal is none."""

import errno
import os

from support import Daemon, DaemonTest, plugin


class Poll(DaemonTest):
    def daemon_with(self, error):
        return Daemon(env={**os.environ, "LD_PRELOAD": plugin("failing_poll"), "POLL_ERROR": str(error)})

    def test_interrupted_by_signals(self):
        daemon = self.daemon_with(errno.EINTR)
        for _ in range(10):
            self.assertEqual(daemon.get("/test/echo")[0], 200)
        self.assertEqual(daemon.stop(), (0, ""))

    def test_real_error_ends_it(self):
        daemon = self.daemon_with(errno.ENOMEM)
        daemon.connect().close()
        self.assertEqual(daemon.wait(), (1, "apid: poll: Cannot allocate memory\n"))
