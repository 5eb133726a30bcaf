# SPDX-License-Identifier: Apache-2.0
"""Who may use the daemon: Host, Origin and token."""

import http.client
import tempfile

from support import PATIENCE, DaemonTest

TOKEN = "s3cret-T0ken/+=~"


class Hosts(DaemonTest):
    def ask_with_host(self, daemon, host):
        connection = http.client.HTTPConnection(daemon.address, daemon.port, timeout=PATIENCE)
        connection.putrequest("GET", "/test/echo", skip_host=True)
        connection.putheader("Host", host)
        connection.endheaders()
        reply = connection.getresponse()
        text = reply.read()
        connection.close()
        return reply.status, text

    def check(self, daemon, good, bad):
        for host, status in [(host, 200) for host in good] + [(host, 421) for host in bad]:
            with self.subTest(listening=daemon.host, host=host):
                got, text = self.ask_with_host(daemon, host)
                self.assertEqual(got, status)
                if status == 421:
                    self.assertEqual(text, b'{"error":"Host is not this daemon\'s address"}')

    def test_ipv4(self):
        daemon = self.daemon()
        port, other = daemon.port, daemon.port ^ 1
        names = ("localhost", "LocalHost", "127.0.0.1", "[::1]")
        self.check(daemon, [*names, *(f"{name}:{port}" for name in names)],
                   [*(f"{name}:{other}" for name in names), f":{port}", f"localhost:{port}:{port}",
                    f"localhost:0{port}x", f"localhost:{port + 65536}", "localhost:", "localhost:x",
                    "localhost/", "user@localhost", "localhost.", "localhost.example.com", "notlocalhost", "",
                    "example.com",
                    f"example.com:{port}", "0.0.0.0", "127.0.0.2", "127.1", "2130706433", "0x7f000001",
                    "127.0.0.1x", "127.0.0.1.example.com", "[127.0.0.1]", "::1", "[::2]", "[::1", "::1]",
                    "[::1]x"])

    def test_other_loopback_address(self):
        daemon = self.daemon(listen="127.0.0.2:0")
        self.check(daemon, ["127.0.0.2", f"127.0.0.2:{daemon.port}", "127.0.0.1", "localhost"],
                   ["127.0.0.3", f"127.0.0.2:{daemon.port ^ 1}"])

    def test_ipv6(self):
        daemon = self.daemon(listen="[::1]:0")
        self.check(daemon, ["[::1]", f"[::1]:{daemon.port}", "[0:0:0:0:0:0:0:1]", "localhost", "127.0.0.1"],
                   ["[::2]", f"[::1]:{daemon.port ^ 1}", "::1", f"::1:{daemon.port}", "[]", "[", "[::1]]"])

    def test_missing(self):
        received = self.daemon().raw(b"GET /test/echo HTTP/1.0\r\n\r\n")
        self.assertEqual(received.split(b" ")[1], b"421")


class Origins(DaemonTest):
    def test_origins(self):
        daemon = self.daemon()
        own = f"http://{daemon.host}"
        cases = [
            (None, 200),
            (own, 200),
            (own.upper().replace("HTTP", "http"), 200),
            ("null", 403),
            ("", 403),
            (f"https://{daemon.host}", 403),
            (f"http://localhost:{daemon.port}", 403),  # this request's Host is the address
            (f"http://{daemon.address}", 403),
            (f"http://{daemon.address}:{daemon.port ^ 1}", 403),
            (f"{own}.example.com", 403),
            (f"{own}/", 403),
            ("http://example.com", 403),
            ("file://", 403),
        ]
        for origin, status in cases:
            for method, path in (("GET", "/test/echo"), ("POST", "/test/echo_post"), ("GET", "/none")):
                with self.subTest(origin=origin, path=path):
                    headers = {"Content-Type": "application/json"}
                    if origin is not None:
                        headers["Origin"] = origin
                    got, reply_headers, reply = daemon.request(method, path, b"{}", headers)
                    expected = 404 if status == 200 and path == "/none" else status
                    self.assertEqual(got, expected)
                    self.assertNotIn("Access-Control-Allow-Origin", reply_headers)
                    if status == 403:
                        self.assertEqual(reply, {"error": "requests from other origins are refused"})

    def test_preflight_is_refused(self):
        daemon = self.daemon()
        status, headers, _ = daemon.request("OPTIONS", "/test/echo_post", headers={
            "Origin": "http://example.com", "Access-Control-Request-Method": "POST",
            "Access-Control-Request-Headers": "content-type"})
        self.assertEqual(status, 403)
        self.assertFalse([name for name in headers if name.lower().startswith("access-control-")])


class Tokens(DaemonTest):
    def daemon_with_token(self, content, **options):
        with tempfile.NamedTemporaryFile("w") as file:
            file.write(content)
            file.flush()
            return self.daemon("--token-file", file.name, **options)

    def test_tokens(self):
        daemon = self.daemon_with_token(TOKEN + "\n")  # and the file is gone by now: it is read once
        cases = [
            (f"Bearer {TOKEN}", 200),
            (f"bearer {TOKEN}", 200),
            (f"BEARER {TOKEN}", 200),
            (None, 401),
            ("", 401),
            ("Bearer", 401),
            ("Bearer ", 401),
            (f"Bearer {TOKEN[:-1]}", 401),
            (f"Bearer {TOKEN}x", 401),
            (f"Bearer {TOKEN}{TOKEN}", 401),
            (f"Bearer {TOKEN[1:]}", 401),
            (f"Bearer {TOKEN[:-1]}x", 401),
            (f"Bearer x{TOKEN[1:]}", 401),
            (f"Bearer {TOKEN.lower()}", 401),
            (f"Bearer  {TOKEN}", 401),
            (f"Bearer \"{TOKEN}\"", 401),
            (f"Bearer{TOKEN}", 401),
            (TOKEN, 401),
            (f"Basic {TOKEN}", 401),
            (f"Token {TOKEN}", 401),
        ]
        for authorization, status in cases:
            for path in ("/test/echo", "/no/such/path"):
                with self.subTest(authorization=authorization, path=path):
                    headers = {} if authorization is None else {"Authorization": authorization}
                    got, reply_headers, reply = daemon.request("GET", path, headers=headers)
                    self.assertEqual(got, 404 if status == 200 and path != "/test/echo" else status)
                    if status == 401:
                        self.assertEqual(reply_headers["WWW-Authenticate"], 'Bearer realm="apid"')
                        self.assertEqual(reply, {"error": "the token is missing or wrong"})

    def test_twice(self):
        daemon = self.daemon_with_token(TOKEN)
        line = f"Authorization: Bearer {TOKEN}\r\n".encode()
        received = daemon.raw(b"GET /test/echo HTTP/1.1\r\nHost: localhost\r\n" + line * 2 + b"\r\n")
        self.assertEqual(received.split(b" ")[1], b"400")

    def test_longest_and_surrounding_space(self):
        token = "x" * 4096
        for content in (token, f"{token[:4000]}\n", f"  {TOKEN}\t\r\n\n"):
            with self.subTest(content=content[:20], length=len(content)):
                daemon = self.daemon_with_token(content)
                self.assertEqual(daemon.get("/test/echo", Authorization=f"Bearer {content.strip()}")[0], 200)
                self.assertEqual(daemon.get("/test/echo")[0], 401)

    def test_every_address(self):
        daemon = self.daemon_with_token(TOKEN, listen="0.0.0.0:0")
        connection = http.client.HTTPConnection("127.0.0.3", daemon.port, timeout=PATIENCE)
        for headers, status in (({"Authorization": f"Bearer {TOKEN}"}, 200), ({}, 401),
                                ({"Authorization": f"Bearer {TOKEN}", "Host": "127.0.0.4"}, 421)):
            with self.subTest(headers=headers):
                connection.request("GET", "/test/echo", headers=headers)
                reply = connection.getresponse()
                reply.read()
                self.assertEqual(reply.status, status)
        connection.close()

    def test_host_and_origin_are_checked_with_a_token_too(self):
        daemon = self.daemon_with_token(TOKEN)
        good = {"Authorization": f"Bearer {TOKEN}"}
        for headers, status in (({"Host": "example.com"}, 421), ({"Origin": "http://example.com"}, 403)):
            with self.subTest(headers=headers):
                self.assertEqual(daemon.request("GET", "/test/echo", headers={**good, **headers})[0], status)
                self.assertEqual(daemon.request("GET", "/test/echo", headers=headers)[0], status)
