# SPDX-License-Identifier: Apache-2.0
"""Many clients that only cost: an honest one does not notice them."""

import contextlib
import http.client
import os
import resource
import socket
import threading
import time

from support import PATIENCE, DaemonTest, read_all, replies

HEAD = b"GET /test/echo HTTP/1.1\r\nHost: localhost\r\n"
POST = b"POST /test/echo_post HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
CROWD = 500
AT_ONCE = 1  # seconds; the daemons here would wait for 30, and a busy machine for a few


def allow_files(count):
    """Has this process open that many files, if it may."""
    _, most = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (min(count, most), most))


class Crowd(DaemonTest):
    @classmethod
    def setUpClass(cls):
        files = resource.getrlimit(resource.RLIMIT_NOFILE)
        cls.addClassCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, files)

    @contextlib.contextmanager
    def crowd(self, daemon, count, sent):
        with contextlib.ExitStack() as clients:
            crowd = [clients.enter_context(daemon.connect()) for _ in range(count)]
            for client in crowd:
                client.sendall(sent)
            yield crowd

    def connect_narrow(self, daemon, width=2048):
        """A client to whom little can be sent at once."""
        client = socket.socket()
        client.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, width)
        client.settimeout(PATIENCE)
        client.connect((daemon.address, daemon.port))
        return client

    def wait_until_idle(self, daemon):
        def processor_time():
            with open(f"/proc/{daemon.process.pid}/stat", encoding="ascii") as status:
                return status.read().rpartition(")")[2].split()[11:13]

        before = None
        while (now := processor_time()) != before:
            before = now
            time.sleep(0.2)

    def check_honest(self, daemon):
        times = []
        for size in (1, 1000, 100_000):
            start = time.monotonic()
            self.assertEqual(daemon.post("/test/echo_post", {"a": "x" * size})[0], 200)
            times.append(time.monotonic() - start)
        self.assertLess(min(times), AT_ONCE, times)
        self.assertLess(max(times), 10 * AT_ONCE, times)

    def test_honest_client_beside_slow_ones(self):
        kinds = [b"", b"\r\n", b"GET", HEAD, POST + b"Content-Length: 1000000\r\n\r\n{",
                 POST + b"Transfer-Encoding: chunked\r\n\r\n1\r\n{\r\n",
                 POST.replace(b"localhost", b"example.com") + b"Content-Length: 1000\r\n\r\n"]
        for sent in kinds:
            with self.subTest(sent=sent):
                daemon = self.daemon()
                with self.crowd(daemon, CROWD, sent) as crowd:
                    self.check_honest(daemon)
                    for client in crowd[-10:]:
                        with contextlib.suppress(OSError):
                            client.sendall(b"x")
                    self.check_honest(daemon)

    def test_slow_clients_are_served_when_there_are_no_more_than_places(self):
        daemon = self.daemon()
        with self.crowd(daemon, 400, HEAD) as crowd:
            self.check_honest(daemon)
            for client in crowd:
                client.sendall(b"Connection: close\r\n\r\n")
            for client in crowd:
                self.assertEqual([status for status, _, _ in replies(read_all(client))], [200])

    def test_more_clients_than_places(self):
        allow_files(3000)
        daemon = self.daemon()
        with self.crowd(daemon, 900, b"") as crowd:
            self.check_honest(daemon)
            # The oldest had to make room, the youngest are still there.
            self.assertEqual(read_all(crowd[0]), b"")
            crowd[-1].sendall(HEAD + b"Connection: close\r\n\r\n")
            self.assertEqual(replies(read_all(crowd[-1]))[0][0], 200)

    def test_a_reply_that_is_being_taken_makes_no_room(self):
        daemon = self.daemon()
        received = b""
        with contextlib.ExitStack() as clients:
            taking = clients.enter_context(self.connect_narrow(daemon, 65536))
            taking.sendall(b"GET /test/large?size=20000000 HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n")
            for _ in range(8):
                clients.enter_context(self.crowd(daemon, 80, b""))
                wanted = len(received) + 2_000_000
                while len(received) < wanted:
                    received += taking.recv(wanted - len(received)) or self.fail(f"ended after {len(received)} bytes")
            received += read_all(taking)
        self.assertGreater(len(received), 20_000_000)

    def test_replies_that_are_not_taken_make_room(self):
        """Clients ask ahead until no more can be sent to them, in all places; then others come and go."""
        daemon = self.daemon()
        asked = b"GET /test/large?size=100000 HTTP/1.1\r\nHost: localhost\r\n\r\n" * 100
        stop = threading.Event()

        def come_and_go():
            while not stop.is_set():
                daemon.connect().close()

        with contextlib.ExitStack() as clients:
            for _ in range(512):
                clients.enter_context(self.connect_narrow(daemon)).sendall(asked)
            self.wait_until_idle(daemon)
            coming = threading.Thread(target=come_and_go)
            clients.callback(coming.join)
            clients.callback(stop.set)
            coming.start()
            for _ in range(30):
                self.check_honest(daemon)

    def test_empty_lines(self):
        """That all have come when a handler ends."""
        daemon = self.daemon()
        with daemon.connect() as busy:
            busy.sendall(b"GET /test/slow?ms=2000 HTTP/1.1\r\nHost: localhost\r\n\r\n")
            with self.crowd(daemon, CROWD, b"\r\n" * 60_000):
                busy.recv(1)
                self.check_honest(daemon)

    def test_few_descriptors(self):
        daemon = self.daemon(preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64)))
        with self.crowd(daemon, 200, HEAD):
            self.check_honest(daemon)
            # Handlers still have descriptors to run commands with.
            self.assertGreater(len(daemon.get("/test/child")[2]["response"]["lines"]), 2)

    def memory(self, daemon, kind):
        """In kB."""
        with open(f"/proc/{daemon.process.pid}/status", encoding="ascii") as status:
            return next(int(line.split()[1]) for line in status if line.startswith(kind + ":"))

    def test_memory_of_unfinished_bodies_is_bounded(self):
        daemon = self.daemon()
        with self.crowd(daemon, 200, POST + b"Content-Length: 1048576\r\n\r\n" + b"{" * 1_000_000):
            self.check_honest(daemon)
            resident = self.memory(daemon, "VmRSS")
        if "asan" not in os.path.basename(daemon.process.args[0]):
            self.assertLess(resident, 120_000, "kB: 64 MiB, and what the allocator keeps of bodies that grew")

    def test_clients_that_come_and_go(self):
        daemon = self.daemon()
        for number in range(2000):
            with daemon.connect() as client:
                client.sendall(HEAD[:number % len(HEAD)])
        self.check_honest(daemon)
        self.assertLess(len(os.listdir(f"/proc/{daemon.process.pid}/fd")), 40)


class LittleMemory(Crowd):
    """As in the router in a box, whose programs get 256 MiB."""

    def daemon(self, *arguments, **options):
        if "asan" in os.path.basename(os.environ["APID_COMMAND"].split()[0]):
            self.skipTest("the sanitizer needs more addresses than there would be")
        further_limits = options.pop("preexec_fn", lambda: None)

        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (256 << 20, 256 << 20))
            further_limits()

        return super().daemon(*arguments, preexec_fn=limit, **options)

    def hold(self, daemon, count, sent):
        """Clients that send as much as is taken from them within a moment, and take nothing."""
        with contextlib.ExitStack() as clients:
            for _ in range(count):
                client = clients.enter_context(self.connect_narrow(daemon))
                client.settimeout(0.1)
                with contextlib.suppress(OSError):
                    client.sendall(sent)
            self.check_honest(daemon)

    def test_many_requests_whose_replies_are_not_taken(self):
        request = b"GET /none?" + b"x" * 30_000 + b" HTTP/1.1\r\nHost: localhost\r\n\r\n"
        self.hold(self.daemon(), 50, request * 400)

    def test_large_replies_that_are_not_taken(self):
        self.hold(self.daemon(), 400, POST + b"Content-Length: 1000000\r\n\r\n{\"a\":\"" + b"x" * 999_992 + b"\"}")

    def test_heads_of_many_short_fields(self):
        head = POST + b"Content-Length: 10\r\n"
        self.hold(self.daemon(), CROWD, head + b"a:\r\n" * ((32_000 - len(head)) // 4) + b"\r\n")

    def test_large_replies_to_those_who_waited(self):
        """All of whose requests are there when a handler ends."""
        daemon = self.daemon()
        with contextlib.ExitStack() as clients:
            busy, *waiting = (clients.enter_context(self.connect_narrow(daemon)) for _ in range(60))
            busy.sendall(b"GET /test/slow?ms=1000 HTTP/1.1\r\nHost: localhost\r\n\r\n")
            time.sleep(0.3)
            for client in waiting:
                client.sendall(b"GET /test/large?size=10000000 HTTP/1.1\r\nHost: localhost\r\n\r\n")
            self.check_honest(daemon)
            self.assertLess(self.memory(daemon, "VmPeak"), 160_000, "kB: 64 MiB, the largest one, and one in the making")

    def test_clients_that_hold_little_outlive_those_that_hold_much(self):
        daemon = self.daemon()
        upload = POST + b"Connection: close\r\nContent-Length: 10\r\n\r\n"
        with daemon.connect() as idle, daemon.connect() as slow:
            slow.sendall(upload + b'{"a":')
            with self.crowd(daemon, 200, POST + b"Content-Length: 1048576\r\n\r\n" + b"{" * 1_000_000):
                self.check_honest(daemon)
                slow.sendall(b' "b"}')
                idle.sendall(HEAD + b"Connection: close\r\n\r\n")
                self.assertEqual([replies(read_all(client))[0][0] for client in (idle, slow)], [200, 200])

    def test_clients_that_took_their_replies_hold_nothing(self):
        daemon = self.daemon()
        asked = b"GET /test/large?size=20000000 HTTP/1.1\r\nHost: localhost\r\n\r\n"
        with contextlib.ExitStack() as clients:
            idle = [clients.enter_context(daemon.connect()) for _ in range(8)]
            for client in idle:
                client.sendall(asked)
                taken = 0
                while taken < 20_000_000:
                    taken += len(client.recv(1 << 20))
            for client in idle:
                client.sendall(HEAD + b"Connection: close\r\n\r\n")
                self.assertIn(b"HTTP/1.1 200 OK", read_all(client))

    def test_requests_sent_ahead_cost_no_more_than_others(self):
        count = 200_000
        with self.daemon().connect() as client:
            asked = b"GET /x HTTP/1.1\r\nHost: localhost\r\n\r\n" * count
            sender = threading.Thread(target=client.sendall, args=(asked,))
            sender.start()
            answered, rest, start = 0, b"", time.monotonic()
            while answered < count:
                received = rest + client.recv(1 << 20)
                answered += received.count(b"HTTP/1.1 404")
                rest = received[-11:]  # the beginning of one may be among them, but not all of it
                self.assertLess(time.monotonic() - start, 20, f"{answered} answered")
            sender.join()

    def leave_memory(self, daemon, size):
        size += self.memory(daemon, "VmSize") << 10
        resource.prlimit(daemon.process.pid, resource.RLIMIT_AS, (size, 256 << 20))

    def test_a_query_that_does_not_fit(self):
        """Is answered as it is, or not at all."""
        refused = (500, {"error": "the request does not fit into memory"})
        asked = {format(number, "x"): "" for number in range(6000)}
        answers = []
        for size in range(0, 1_600_000, 100_000):
            daemon = self.daemon()
            self.leave_memory(daemon, size)
            with contextlib.suppress(http.client.HTTPException, ConnectionError):
                status, _, answer = daemon.get("/test/echo?" + "&".join(asked))
                answers.append((status, answer))
            self.leave_memory(daemon, 10 << 20)
            self.assertEqual(daemon.get("/test/echo")[0], 200)
        self.assertIn(refused, answers)
        for answer in answers:
            if answer != refused:
                self.assertEqual((answer[0], answer[1]["response"]["request"]), (200, asked))

    def test_a_request_that_does_not_fit_is_not_called_wrong(self):
        daemon = self.daemon()
        self.leave_memory(daemon, 12 << 20)
        numbers = {"a": [0] * 300_000}
        status, _, answer = daemon.post("/test/echo_post", numbers)
        self.assertEqual((status, answer), (500, {"error": "the request does not fit into memory"}))
        self.assertEqual(daemon.post("/test/echo_post", {"a": 1})[0], 200)
