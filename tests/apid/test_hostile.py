# SPDX-License-Identifier: Apache-2.0
"""Requests made to confuse: each is answered once, in JSON, at once, and nothing in it reaches a handler unseen."""

import random
import socket
import time

from support import DaemonTest, read_all, replies

HOST = b"Host: localhost\r\n"
GET = b"GET /test/echo HTTP/1.1\r\n" + HOST
POST = b"POST /test/echo_post HTTP/1.1\r\n" + HOST + b"Content-Type: application/json\r\n"
SECOND = b"GET /test/echo?smuggled=1 HTTP/1.1\r\n" + HOST + b"\r\n"
CHUNKED = b"Transfer-Encoding: chunked\r\n"
AT_ONCE = 5  # seconds, on a busy machine; the daemons here would wait for 30

NO_TRANSFER_CODING = "the transfer coding is not chunked"
TOO_LARGE = "the body is larger than 1 MiB"
NOT_TEXT = "a control character, or a line end other than CR LF, in the header"
FOLDED = "a header line begins with a blank"


class Refusals(DaemonTest):
    def check(self, daemon, sent, status, error=None):
        """The daemon answers without waiting for more, once, and ends the connection."""
        start = time.monotonic()
        with daemon.connect() as client:
            client.sendall(sent)
            received = read_all(client)
        self.assertLess(time.monotonic() - start, AT_ONCE)
        (got, headers, reply), = replies(received)
        self.assertEqual((got, headers["connection"]), (status, "close"), received)
        self.assertEqual(list(reply), ["error"])
        if error:
            self.assertEqual(reply["error"], error)

    def check_all(self, cases):
        daemon = self.daemon()
        for sent, *expected in cases:
            with self.subTest(sent=sent[:300]):
                self.check(daemon, sent, *expected)
        self.assertEqual(daemon.get("/test/echo")[0], 200)

    def test_host(self):
        self.check_all([
            (b"GET /test/echo HTTP/1.1\r\n\r\n", 400, "Host is missing"),
            (b"GET /test/echo HTTP/1.1\r\nX: y\r\n\r\n" + SECOND, 400),
            (b"GET /test/echo HTTP/1.1\r\nHost : localhost\r\n\r\n", 400),
            (b"GET /test/echo HTTP/1.1\r\nHost\t: localhost\r\n\r\n", 400),
            (b"GET /test/echo HTTP/1.1\r\n Host: localhost\r\n\r\n", 400, FOLDED),
            (b"GET /test/echo HTTP/1.1\r\nHost: localhost\r\nhOST: localhost\r\n\r\n", 400),
        ])

    def test_content_length(self):
        self.check_all([(POST + b"Content-Length: %s\r\n\r\n{}" % length + SECOND, status) for length, status in (
            (b"-1", 400), (b"2x", 400), (b"+2", 400), (b"", 400), (b" ", 400), (b"0x2", 400), (b"2.0", 400),
            (b"2 2", 400), (b"2,2", 400), (b"2, 2", 400), (b"2;2", 400), (b"\xb2", 400),
            (b"-18446744073709551614", 400),
            (b"1048577", 413), (b"2097152", 413), (b"18446744073709551615", 413), (b"18446744073709551616", 413),
            (b"18446744073709551618", 413), (b"36893488147419103234", 413), (b"9" * 1000, 413),
        )] + [
            (POST + b"Content-Length: 2\r\nContent-Length: 2\r\n\r\n{}" + SECOND, 400),
            (POST + b"Content-Length: 2\r\nCONTENT-LENGTH: 3\r\n\r\n{}" + SECOND, 400),
            (POST + b"Content-Length : 2\r\n\r\n{}" + SECOND, 400),
            (POST + b"Content_Length: 2\r\nContent-Length: 18446744073709551618\r\n\r\n{}" + SECOND, 413),
        ])

    def test_announced_and_not_sent(self):
        self.check_all([
            (POST + b"Content-Length: 2097152\r\n\r\n", 413, TOO_LARGE),
            (POST + CHUNKED + b"\r\n200000\r\n", 413, TOO_LARGE),
            (POST + CHUNKED + b"\r\nffffffffffffffff\r\n", 413, TOO_LARGE),
            (POST + CHUNKED + b"\r\n2\r\n{}\r\nfffff\r\n", 413, TOO_LARGE),
            (GET + b"Content-Length: 2097152\r\n\r\n", 413, TOO_LARGE),
            (POST.replace(b"/json", b"/xml") + b"Content-Length: 10\r\n\r\n", 415),
            (POST.replace(b"echo_post", b"none") + b"Content-Length: 10\r\n\r\n", 404),
            (POST.replace(b"localhost", b"example.com") + b"Content-Length: 10\r\n\r\n", 421),
        ])

    def test_transfer_coding(self):
        self.check_all([(POST + b"Transfer-Encoding: %s\r\n\r\n2\r\n{}\r\n0\r\n\r\n" % coding + SECOND, 501,
                         NO_TRANSFER_CODING)
                        for coding in (b"gzip", b"gzip, chunked", b"chunked, gzip", b"identity", b"", b"xchunked",
                                       b"chunked, chunked", b"chunked;x=y", b"chunked,", b"\"chunked\"")] + [
            (POST + CHUNKED * 2 + b"\r\n2\r\n{}\r\n0\r\n\r\n" + SECOND, 400),
            (POST + CHUNKED + b"Transfer-Encoding: identity\r\n\r\n2\r\n{}\r\n0\r\n\r\n" + SECOND, 400),
            (POST + b"Transfer-Encoding: identity\r\n" + CHUNKED + b"\r\n2\r\n{}\r\n0\r\n\r\n" + SECOND, 400),
            (POST + b"Transfer-Encoding : chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n" + SECOND, 400),
            (POST.replace(b"1.1", b"1.0") + CHUNKED + b"\r\n2\r\n{}\r\n0\r\n\r\n" + SECOND, 400),
        ])

    def test_both_lengths(self):
        body = b"\r\n2\r\n{}\r\n0\r\n\r\n"
        for length in (b"0", b"2", b"%d" % len(body)):
            self.check_all([
                (POST + CHUNKED + b"Content-Length: %s\r\n" % length + body + SECOND, 400),
                (POST + b"Content-Length: %s\r\n" % length + CHUNKED + body + SECOND, 400),
            ])

    def test_bytes_that_no_header_has(self):
        bad = [b"\0", b"\x01", b"\x08", b"\x0b", b"\x0c", b"\x1b", b"\x7f", b"\n", b"\r", b"\r\r\n", b"\n\r\n",
               b"\r\n\n"]
        for byte in bad:
            self.check_all([
                (GET + b"X: a%sb\r\n\r\n" % byte, 400, NOT_TEXT),
                (GET + b"X%s: b\r\n\r\n" % byte, 400, NOT_TEXT),
                (b"GET /test/echo?x=%s HTTP/1.1\r\n" % byte + HOST + b"\r\n", 400, NOT_TEXT),
            ])
        self.check_all([
            (GET.replace(b"\r\n", b"\n") + b"\n", 400, NOT_TEXT),
            (GET + b"X: y\n\r\n", 400, NOT_TEXT),
            (GET + b"X: y\r\n\n", 400, NOT_TEXT),
            (GET + b"\n" + SECOND, 400, NOT_TEXT),
            (GET + b"X: a\r\n b\r\n\r\n", 400, FOLDED),
            (GET + b"X: a\r\n\tb\r\n\r\n", 400, FOLDED),
            (GET + b"X:\r\n \r\n\r\n", 400, FOLDED),
            (GET + b"no colon\r\n\r\n", 400),
            (GET + b": no name\r\n\r\n", 400),
            (GET + b"two names: x\r\n\r\n", 400),
            (GET + b"\xc3\xa9: x\r\n\r\n", 400),
        ])

    def test_request_lines(self):
        self.check_all([(line + b"\r\n" + HOST + b"\r\n", status) for line, status in (
            (b"GET /test/echo", 400), (b"GET  /test/echo HTTP/1.1", 400), (b"GET /test/echo  HTTP/1.1", 400),
            (b" GET /test/echo HTTP/1.1", 400), (b"GET /test/echo HTTP/1.1 ", 400), (b"GET\t/test/echo\tHTTP/1.1", 400),
            (b"GET /test/echo?a b HTTP/1.1", 400), (b"GET HTTP/1.1", 400), (b"G@T /test/echo HTTP/1.1", 400),
            (b"/test/echo HTTP/1.1", 400), (b"GET /test/echo http/1.1", 400), (b"GET /test/echo HTTP/1", 400),
            (b"GET /test/echo HTTP/1.10", 400), (b"GET /test/echo HTTP/11.1", 400), (b"GET /test/echo HTTP/1,1", 400),
            (b"GET /test/echo HTTP/0.9", 505), (b"GET /test/echo HTTP/1.2", 505), (b"GET /test/echo HTTP/2.0", 505),
        )] + [(b"x" * 40_000, 414), (GET + b"X: " + b"x" * 40_000, 431), (GET + b"X: y\r\n" * 8_000, 431)])

    def test_other_protocols(self):
        hello = bytes.fromhex("16030100a5010000a10303") + bytes(range(32)) + b"\0" * 120
        self.check_all([
            (hello, 400, NOT_TEXT),
            (b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n" + b"\0\0\0\x04\0\0\0\0\0", 505),
            (b"\x05\x01\x00", 400, NOT_TEXT),
            (b"EHLO localhost\r\n\r\n", 400),
            (b"GET /test/echo\r\n\r\n", 400),
        ])

    def test_chunks(self):
        self.check_all([(POST + CHUNKED + b"\r\n" + body + SECOND, 400) for body in (
            b"zz\r\n{}\r\n0\r\n\r\n", b"-2\r\n{}\r\n0\r\n\r\n", b"+2\r\n{}\r\n0\r\n\r\n", b"0x2\r\n{}\r\n0\r\n\r\n",
            b" 2\r\n{}\r\n0\r\n\r\n", b"\r\n{}\r\n0\r\n\r\n", b"2\n{}\n0\n\n", b"2\r\n{}0\r\n\r\n",
            b"2\r\n{}x\r\n0\r\n\r\n",
            b"2;x=\"y\r\n{}\r\n0\r\n\r\n", b"2\r\n{}\r\n0;x=\"y\r\n\r\n",
            b"1\r\n{}\r\n0\r\n\r\n", b"2;\0\r\n{}\r\n0\r\n\r\n", b"2;x=\"\n\"\r\n{}\r\n0\r\n\r\n",
            b"10000000000000002\r\n{}\r\n0\r\n\r\n", b"2\r\n{}\r\n0\r\nno colon\r\n\r\n",
            b"2\r\n{}\r\n0\r\nContent-Length: 2\r\n\r\n", b"2\r\n{}\r\n0\r\nX: y\n\r\n",
            b"2;" + b"x" * 100_000, b"2\r\n{}\r\n0\r\n" + b"X: y\r\n" * 20_000, b"0" * 100_000,
        )])

    def test_expectations(self):
        self.check_all([
            (POST + b"Content-Length: 2\r\nExpect: 200-ok\r\n\r\n", 417),
            (POST + b"Content-Length: 2\r\nExpect: 100-continue\r\nExpect: 100-continue\r\n\r\n", 400),
            (POST + b"Content-Length: 2097152\r\nExpect: 100-continue\r\n\r\n", 413),
        ])


class Accepted(DaemonTest):
    def test_many_parameters(self):
        daemon = self.daemon()
        for count in (449, 450, 451, 1000, 4000):
            with self.subTest(count=count):
                status, _, reply = daemon.get("/test/echo?" + "&".join(["name=a"] * count))
                self.assertEqual((status, reply["response"]["request"]), (200, {"name": ["a"] * count}))
                query = "&".join(f"{number:x}" for number in range(count))
                status, _, reply = daemon.get("/test/echo?" + query)
                self.assertEqual((status, len(reply["response"]["request"])), (200, count))

    def test_empty_parameters(self):
        _, _, reply = self.daemon().get("/test/echo?&&x=1&&&y=2&&")
        self.assertEqual(reply["response"]["request"], {"x": "1", "y": "2"})

    def test_unusual_but_right(self):
        end = b"Connection: close\r\n\r\n"
        cases = [
            b"\r\n\r\n" + GET + end,
            GET + b"X:y\r\nZ: \t y \t \r\nEmpty:\r\n" + end,
            GET + b"X: caf\xc3\xa9 \xff\r\n" + end,
            b"GET /test/echo HTTP/1.1\r\nhOsT:localhost\r\n" + end,
            GET + b"Expect: 100-continue\r\n" + end,
            GET + b"Content-Length: 0\r\n" + end,
            GET + b"Content-Length: 00000000000000000000000000000\r\n" + end,
            GET + CHUNKED + b"Connection: close\r\n\r\n0\r\n\r\n",
            GET + b"X: y\r\n" * 3_000 + end,
            POST + b"Content-Length: 002\r\n" + end + b"{}",
            POST + b"transfer-encoding:CHUNKED\r\n" + end + b"1\r\n{\r\n1\r\n}\r\n0\r\n\r\n",
            POST + CHUNKED + end + b"2;name\r\n{}\r\n0;x=y;z=\"q\"\r\n\r\n",
            POST + CHUNKED + end + b"0002\r\n{}\r\n000\r\nHost: example.com\r\nX: y\r\n\r\n",
            POST + b"X: 2\r\nContent-Length: 2\r\n" + end + b"{}" + b"GET /never HTTP/1.1\r\n\r\n",
        ]
        daemon = self.daemon()
        for sent in cases:
            for step in (1, 7, len(sent)) if len(sent) < 1000 else (len(sent),):
                with self.subTest(sent=sent[:300], step=step), daemon.connect() as client:
                    for at in range(0, len(sent), step):
                        client.sendall(sent[at:at + step])
                    (status, headers, reply), = replies(read_all(client))
                    self.assertEqual((status, headers["connection"], reply),
                                     (200, "close", {"result": 0, "response": {"request": {}}}))

    def test_http_1_0(self):
        daemon = self.daemon()
        for more in (b"", b"Connection: keep-alive\r\n"):
            received = daemon.raw(b"GET /test/echo HTTP/1.0\r\n" + HOST + more + b"\r\n" + SECOND)
            (status, headers, _), = replies(received)
            self.assertEqual((status, headers["connection"]), (200, "close"))

    def test_a_head_request_has_no_body(self):
        received = self.daemon().raw(GET.replace(b"GET", b"HEAD") + b"\r\n" + SECOND)
        head, _, rest = received.partition(b"\r\n\r\n")
        self.assertTrue(head.startswith(b"HTTP/1.1 405 "), head)
        self.assertEqual(replies(rest)[0][2]["response"], {"request": {"smuggled": "1"}})

    def test_absolute_target_names_no_route(self):
        received = self.daemon().raw(GET.replace(b"/test", b"http://localhost/test") + b"\r\n" + SECOND)
        self.assertEqual([status for status, _, _ in replies(received)], [404, 200])

    def test_pipelined_after_a_body(self):
        daemon = self.daemon()
        sent = POST + b"Content-Length: 2\r\n\r\n{}" + POST + CHUNKED + b"\r\n2\r\n{}\r\n0\r\n\r\n" + SECOND
        for count in (1, 100):
            received = daemon.raw(sent * count)
            self.assertEqual([list(reply["response"]["request"]) for _, _, reply in replies(received)],
                             [[], [], ["smuggled"]] * count)

    def test_pieces_that_are_read_apart(self):
        """No piece is sent before the daemon has read the one before."""
        daemon = self.daemon()
        for start, body in ((GET, b"0\r\n\r\n"), (GET, b"0;x\r\n\r\n"), (GET, b"0\r\nX: y\r\n\r\n"),
                            (POST, b"2\r\n{}\r\n0\r\n\r\n")):
            with self.subTest(body=body), daemon.connect() as client:
                client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
                client.sendall(start + CHUNKED + b"Connection: close\r\n\r\n")
                for byte in body:
                    time.sleep(0.01)
                    client.sendall(bytes([byte]))
                self.assertEqual([status for status, _, _ in replies(read_all(client))], [200])


class Mutations(DaemonTest):
    """Damaged requests: whatever comes back is well-formed, and the daemon stays."""

    def test_damaged(self):
        whole = [SECOND, POST + b"Content-Length: 9\r\n\r\n{\"a\": 1}\n",
                 POST + CHUNKED + b"\r\n9;x=y\r\n{\"a\": 1}\n\r\n0\r\nX: y\r\n\r\n"]
        pieces = [b"", b"\r\n", b"\n", b"\r", b"\0", b" ", b":", b"0", b"-", b",", b"%", b"&", b"x" * 5000, CHUNKED,
                  b"Content-Length: 3\r\n", HOST, b"\xff"]
        chance = random.Random(1)
        daemon = self.daemon()
        for number in range(1000):
            sent = bytearray(b"".join(chance.choices(whole, k=2)))
            for _ in range(chance.randint(1, 3)):
                at = chance.randrange(len(sent))
                sent[at:at + chance.choice((0, 1, 3, 30))] = chance.choice(pieces)
            with self.subTest(number=number, sent=bytes(sent)):
                replies(daemon.raw(sent))
        self.assertEqual(daemon.get("/test/echo")[0], 200)
