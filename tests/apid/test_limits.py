# SPDX-License-Identifier: Apache-2.0
"""Sizes and times at their limits."""

import concurrent.futures
import http.client
import socket
import time

from support import PATIENCE, DaemonTest, ask, read_all

LIMIT = 1024 * 1024
TIMEOUT = 1  # seconds; what the daemons here are started with
POST = b"POST /test/echo_post HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
LAST = b"Host: localhost\r\nConnection: close\r\n"
TOO_LARGE = {"error": "the body is larger than 1 MiB"}


def body_of(size):
    return b'{"a":"' + b"x" * (size - 8) + b'"}'


class BodySize(DaemonTest):
    def test_length_announced(self):
        daemon = self.daemon()
        for size, status in ((LIMIT - 1, 200), (LIMIT, 200), (LIMIT + 1, 413), (3 * LIMIT, 413)):
            with self.subTest(size=size):
                got, _, reply = daemon.post("/test/echo_post", body_of(size))
                self.assertEqual(got, status)
                if status == 200:
                    self.assertEqual(len(reply["response"]["request"]["a"]), size - 8)
                else:
                    self.assertEqual(reply, TOO_LARGE)

    def test_chunked(self):
        daemon = self.daemon()
        for size, status in ((20, 200), (LIMIT, 200), (LIMIT + 1, 413), (3 * LIMIT, 413)):
            for step in (7, 4096) if size < 100 else (4096, 65536):
                with self.subTest(size=size, step=step):
                    body = body_of(size)
                    pieces = (body[at:at + step] for at in range(0, size, step))
                    connection = http.client.HTTPConnection(daemon.address, daemon.port, timeout=PATIENCE)
                    got, _, reply = ask(connection, "POST", "/test/echo_post", pieces,
                                        {"Content-Type": "application/json"})
                    self.assertEqual(got, status)
                    if status == 413:
                        self.assertEqual(reply, TOO_LARGE)
                    self.assertEqual(ask(connection, "GET", "/test/echo")[0], 200)
                    connection.close()

    def test_refused_before_the_body_when_the_client_waits(self):
        daemon = self.daemon()
        cases = [
            (POST, b"%d" % (LIMIT + 1), b"413"),
            (POST, b"99999999999999999999", b"413"),
            (POST.replace(b"echo_post", b"gone"), b"2", b"404"),
            (POST.replace(b"localhost", b"example.com"), b"2", b"421"),
        ]
        for first, length, status in cases:
            with self.subTest(first=first, length=length):
                sent = first + b"Content-Length: " + length + b"\r\nExpect: 100-continue\r\n\r\n"
                received = daemon.raw(sent)
                self.assertEqual(received.split(b" ")[1], status, received)

    def test_waiting_client_is_told_to_continue(self):
        daemon = self.daemon()
        with daemon.connect() as client:
            client.sendall(POST + b"Content-Length: 2\r\nConnection: close\r\nExpect: 100-continue\r\n\r\n")
            self.assertEqual(client.recv(4096).split(b" ")[1], b"100")
            client.sendall(b"{}")
            self.assertEqual(read_all(client).split(b" ")[1], b"200")

    def test_body_shorter_than_announced(self):
        daemon = self.daemon("--timeout", str(TIMEOUT))
        with daemon.connect() as client:
            client.sendall(POST + b"Content-Length: 10\r\n\r\n{}")
            client.shutdown(socket.SHUT_WR)
            self.assertNotIn(b'"result"', read_all(client))
        self.assertEqual(daemon.get("/test/echo")[0], 200)

    def test_body_longer_than_announced(self):
        received = self.daemon().raw(POST + b"Content-Length: 2\r\n\r\n{}garbage garbage garbage\r\n\r\n")
        statuses = [part.split(b" ")[1] for part in received.split(b"HTTP/1.1")[1:]]
        self.assertEqual((statuses, received.count(b'"result"')), ([b"200", b"400"], 1), received)


class HeaderSize(DaemonTest):
    def test_header(self):
        daemon = self.daemon()
        for size, status in ((100, 200), (20_000, 200), (40_000, 431), (1_000_000, 431)):
            with self.subTest(size=size):
                sent = b"GET /test/echo HTTP/1.1\r\n" + LAST + b"X: %s\r\n\r\n" % (b"x" * size)
                self.assertEqual(self.status_of(daemon, sent), status)

    def test_request_line(self):
        daemon = self.daemon()
        for size, status in ((100, 200), (20_000, 200), (40_000, 414), (1_000_000, 414)):
            with self.subTest(size=size):
                sent = b"GET /test/echo?x=%s HTTP/1.1\r\n" % (b"x" * size) + LAST + b"\r\n"
                self.assertEqual(self.status_of(daemon, sent), status)

    def test_many_lines(self):
        daemon = self.daemon()
        lines = b"".join(b"X-%d: y\r\n" % number for number in range(10_000))
        sent = b"GET /test/echo HTTP/1.1\r\nHost: localhost\r\n" + lines + b"\r\n"
        self.assertEqual(self.status_of(daemon, sent), 431)

    def status_of(self, daemon, sent):
        """The daemon stops reading at its limit, so what is sent beyond it may be refused by the system."""
        with daemon.connect() as client:
            try:
                client.sendall(sent)
            except (BrokenPipeError, ConnectionResetError):
                pass
            return int(read_all(client).split(b" ")[1])


class Time(DaemonTest):
    def slow_client(self, daemon, first, drip):
        """Sends `first`, then `drip` every tenth of a second; gives the seconds until the daemon ends it."""
        start = time.monotonic()
        with daemon.connect() as client:
            client.sendall(first)
            client.settimeout(0.1)
            while time.monotonic() < start + PATIENCE:
                try:
                    if not client.recv(65536):
                        break
                except TimeoutError:
                    pass
                except ConnectionResetError:
                    break
                try:
                    client.sendall(drip)
                except (BrokenPipeError, ConnectionResetError):
                    break
        return time.monotonic() - start

    def test_slow_clients_are_dropped(self):
        daemon = self.daemon("--timeout", str(TIMEOUT))
        cases = [
            ("nothing", b"", b""),
            ("empty lines", b"", b"\r\n"),
            ("request line", b"GET /test/ec", b"x"),
            ("header", b"GET /test/echo HTTP/1.1\r\nHost: localhost\r\n", b"X: y\r\n"),
            ("body", POST + b"Content-Length: 1000\r\n\r\n", b" "),
            ("chunks", POST + b"Transfer-Encoding: chunked\r\n\r\n", b"1\r\n \r\n"),
            ("nothing after a reply", b"GET /test/echo HTTP/1.1\r\nHost: localhost\r\n\r\n", b""),
        ]
        with concurrent.futures.ThreadPoolExecutor(len(cases)) as clients:
            times = list(clients.map(lambda case: self.slow_client(daemon, case[1], case[2]), cases))
        for (name, _, _), taken in zip(cases, times):
            with self.subTest(name):
                self.assertGreater(taken, TIMEOUT * 0.9)
                self.assertLess(taken, TIMEOUT + 3)

    def test_reply_that_is_not_taken(self):
        daemon = self.daemon("--timeout", str(TIMEOUT))
        with daemon.connect() as client:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 65536)
            client.sendall(b"GET /test/large?size=20000000 HTTP/1.1\r\nHost: localhost\r\n\r\n")
            client.recv(1)  # the handler, whose time does not count, has ended
            time.sleep(TIMEOUT + 1)
            self.assertLess(len(read_all(client)), 20_000_000)
        self.assertEqual(daemon.get("/test/echo")[0], 200)

    def test_each_part_of_a_reply_has_its_own_time(self):
        daemon = self.daemon("--timeout", str(TIMEOUT))
        received = b""
        with daemon.connect() as client:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 65536)
            client.sendall(b"GET /test/large?size=20000000 HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n")
            start = time.monotonic()
            while time.monotonic() - start < 3 * TIMEOUT:  # much less than the system would take over at once
                received += client.recv(100_000) or self.fail(f"ended after {len(received)} bytes")
                time.sleep(TIMEOUT * 0.2)
            received += read_all(client)
        self.assertGreater(len(received), 20_000_000)

    def test_each_request_has_its_own_time(self):
        daemon = self.daemon("--timeout", str(TIMEOUT))
        connection = http.client.HTTPConnection(daemon.address, daemon.port, timeout=PATIENCE)
        connection.connect()
        own = connection.sock
        for _ in range(5):
            time.sleep(TIMEOUT * 0.3)
            self.assertEqual(ask(connection, "GET", "/test/echo")[0], 200)
        self.assertIs(connection.sock, own, "the connection was not kept")
        connection.close()

    def test_time_in_handlers_does_not_count(self):
        daemon = self.daemon("--timeout", str(TIMEOUT))
        busy, waiting, idle = (daemon.connect() for _ in range(3))
        idle.sendall(b"GET /test/echo HTTP/1.1\r\n")  # only a beginning
        time.sleep(0.2)  # all three are accepted
        busy.sendall(b"GET /test/slow?ms=%d HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n" %
                     (TIMEOUT * 2000))
        time.sleep(0.2)
        waiting.sendall(b"GET /test/echo HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n")
        for client in (busy, waiting):
            self.assertEqual(read_all(client).split(b" ")[1:2], [b"200"])
        idle.sendall(b"Host: localhost\r\nConnection: close\r\n\r\n")
        self.assertEqual(read_all(idle).split(b" ")[1:2], [b"200"])
        for client in (busy, waiting, idle):
            client.close()

    def test_idle_connections_do_not_keep_others_out_for_long(self):
        daemon = self.daemon("--timeout", str(TIMEOUT))
        idle = [daemon.connect() for _ in range(100)]
        start = time.monotonic()
        self.assertEqual(daemon.get("/test/echo")[0], 200)
        self.assertLess(time.monotonic() - start, 2 * TIMEOUT + 3)
        for client in idle:
            client.close()
