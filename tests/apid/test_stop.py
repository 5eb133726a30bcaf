# SPDX-License-Identifier: Apache-2.0
"""A stop finishes the requests in work and nothing else."""

import contextlib
import resource
import signal
import socket
import threading
import time

from support import DaemonTest, read_all, replies

SLOW = b"GET /test/slow?ms=1200 HTTP/1.1\r\nHost: localhost\r\n\r\n"
POST = (b"POST /test/echo_post HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
        b"Content-Length: 4\r\n\r\n")


class Stop(DaemonTest):
    def check_stop(self, daemon, at_most, signal_number=signal.SIGTERM):
        start = time.monotonic()
        self.assertEqual(daemon.stop(signal_number), (0, ""))
        self.assertLess(time.monotonic() - start, at_most)

    def test_idle(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with self.subTest(signal=number):
                daemon = self.daemon()
                kept = daemon.connect()
                unfinished = daemon.connect()
                unfinished.sendall(b"GET /test/echo HTTP/1.1\r\nHost:")
                time.sleep(0.1)
                self.check_stop(daemon, 3, number)
                for client in (kept, unfinished):
                    self.assertEqual(read_all(client), b"")
                    client.close()
                with self.assertRaises(ConnectionRefusedError):
                    daemon.connect()

    def test_during_a_handler(self):
        for signals in (1, 3):
            with self.subTest(signals=signals):
                daemon = self.daemon()
                with daemon.connect() as client:
                    client.sendall(SLOW)
                    time.sleep(0.3)
                    for _ in range(signals):
                        daemon.process.send_signal(signal.SIGTERM)
                    received = read_all(client)
                self.assertTrue(received.startswith(b"HTTP/1.1 200 "), received)
                self.assertIn(b"\r\nConnection: close\r\n", received)
                self.assertTrue(received.endswith(b'"response":{"overlap":0,"main_thread":1}}'), received)
                self.assertEqual(daemon.wait(), (0, ""))

    def test_during_an_upload(self):
        daemon = self.daemon()
        with daemon.connect() as client:
            client.sendall(POST + b"{ ")
            time.sleep(0.2)
            daemon.process.send_signal(signal.SIGTERM)
            time.sleep(0.2)
            self.assertIsNone(daemon.process.poll())
            with self.assertRaises(ConnectionRefusedError):
                daemon.connect()
            client.sendall(b" }")
            received = read_all(client)
        self.assertTrue(received.endswith(b'{"result":0,"response":{"request":{}}}'), received)
        self.assertEqual(daemon.wait(), (0, ""))

    def test_requests_that_never_end(self):
        unfinished = [b"", b"GET", POST, POST + b"{ ", POST.replace(b"localhost", b"other"),
                      POST.replace(b"Content-Length: 4", b"Transfer-Encoding: chunked") + b"2\r\n{ "]
        daemons = [self.daemon() for _ in unfinished]
        with contextlib.ExitStack() as clients:
            pairs = [[clients.enter_context(daemon.connect()) for _ in range(2)] for daemon in daemons]
            for (slow, _), sent in zip(pairs, unfinished):
                slow.sendall(sent)
            time.sleep(0.2)
            start = time.monotonic()
            for daemon, (_, quick) in zip(daemons, pairs):
                quick.sendall(POST + b"{}  ")  # no time to read it before the signal
                daemon.process.send_signal(signal.SIGTERM)
            for daemon, (slow, quick), sent in zip(daemons, pairs, unfinished):
                with self.subTest(sent=sent):
                    self.assertEqual(daemon.wait(), (0, ""))
                    self.assertLess(time.monotonic() - start, 2)
                    self.assertNotIn(b'"result"', read_all(slow))
                    self.assertEqual(replies(read_all(quick))[0][0], 200)

    def check_what_is_complete(self, count, **options):
        daemon = self.daemon(**options)
        with contextlib.ExitStack() as clients:
            busy, *waiting = (clients.enter_context(daemon.connect()) for _ in range(count))
            time.sleep(0.3)  # all are accepted
            busy.sendall(SLOW)
            time.sleep(0.3)
            late = [clients.enter_context(daemon.connect()) for _ in range(count)]
            for client in (*waiting, *late):
                client.sendall(POST + b" {} ")
            self.check_stop(daemon, 3)
            for client in (busy, *waiting, *late):
                (status, headers, _), = replies(read_all(client))
                self.assertEqual((status, headers["connection"]), (200, "close"))

    def test_what_is_complete_is_answered(self):
        self.check_what_is_complete(20)

    def test_those_who_wait_take_no_places_from_what_is_complete(self):
        self.check_what_is_complete(30, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64)))

    def test_reply_that_is_not_taken(self):
        daemon = self.daemon()
        with daemon.connect() as client:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 65536)
            client.sendall(b"GET /test/large?size=20000000 HTTP/1.1\r\nHost: localhost\r\n\r\n")
            client.recv(1000)
            self.check_stop(daemon, 2)

    def test_while_a_reply_is_taken_slowly(self):
        daemon = self.daemon()
        with daemon.connect() as client:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 65536)
            client.sendall(b"GET /test/large?size=10000000 HTTP/1.1\r\nHost: localhost\r\n\r\n")
            head = client.recv(1000)
            daemon.process.send_signal(signal.SIGTERM)
            time.sleep(0.3)
            self.assertIsNone(daemon.process.poll())
            # The connection was to be kept when the reply began: only the stop closes it.
            received = head + read_all(client)
        self.assertEqual(received.rpartition(b'"text":"')[2], b"x" * 10_000_000 + b'"}}')
        self.assertEqual(daemon.wait(), (0, ""))

    def test_busy_clients_do_not_keep_it_alive(self):
        daemon = self.daemon()
        ended = threading.Event()

        def keep_asking():
            while not ended.is_set():
                try:
                    with daemon.connect() as client:
                        client.sendall(b"GET /test/slow?ms=5 HTTP/1.1\r\nHost: localhost\r\n\r\n" * 3)
                        read_all(client)
                except OSError:
                    pass

        clients = [threading.Thread(target=keep_asking) for _ in range(6)]
        for client in clients:
            client.start()
        time.sleep(0.5)
        self.check_stop(daemon, 5)
        ended.set()
        for client in clients:
            client.join()
