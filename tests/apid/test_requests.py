# SPDX-License-Identifier: Apache-2.0
"""How a request is read: paths, methods, queries, bodies, and what is malformed."""

from bodies import NOT_AN_OBJECT
from support import DaemonTest

JSON = {"Content-Type": "application/json"}


class Paths(DaemonTest):
    def test_matched_exactly(self):
        daemon = self.daemon()
        for path in ("/", "/test", "/test/", "/test/echo/", "//test/echo", "/Test/echo", "/test/echo%00",
                     "/test/./echo", "/test/echo%3Fx", "/test/echo;x", "*", "http://127.0.0.1/test/echo"):
            for method in ("GET", "POST", "DELETE"):
                with self.subTest(path=path, method=method):
                    status, _, reply = daemon.request(method, path, headers=JSON)
                    self.assertEqual((status, reply), (404, {"error": "no such path"}))

    def test_escapes_are_decoded(self):
        self.assertEqual(self.daemon().get("/test%2F%65cho")[0], 200)


class Methods(DaemonTest):
    def test_wrong_method(self):
        daemon = self.daemon()
        for path, right in (("/test/echo", "GET"), ("/test/echo_post", "POST")):
            for method in ("GET", "POST", "HEAD", "OPTIONS", "PUT", "DELETE", "PATCH", "TRACE", "CONNECT",
                           "get", "post", "BREW", "M-SEARCH"):
                if method == right:
                    continue
                with self.subTest(path=path, method=method):
                    status, headers, reply = daemon.request(method, path, headers=JSON)
                    self.assertEqual((status, headers["Allow"]), (405, right))
                    if method != "HEAD":
                        self.assertEqual(reply, {"error": "the path has another method"})


class Queries(DaemonTest):
    def test_parameters(self):
        cases = [
            ("", {}),
            ("?", {}),
            ("?name=2g_ssid&name=lan_ip", {"name": ["2g_ssid", "lan_ip"]}),
            ("?name=one", {"name": ["one"]}),
            ("?name=", {"name": [""]}),
            ("?name", {"name": [""]}),
            ("?name=b&name=a&name=b", {"name": ["b", "a", "b"]}),
            ("?x=1", {"x": "1"}),
            ("?x=1&x=2", {"x": "2"}),
            ("?x", {"x": ""}),
            ("?x=1&name=a&y=2", {"x": "1", "name": ["a"], "y": "2"}),
            ("?Name=a&name%5B%5D=b", {"Name": "a", "name[]": "b"}),
            ("?n%61me=a", {"name": ["a"]}),
            ("?x=a+b%20c%2Bd", {"x": "a b c+d"}),
            ("?x=%C3%A9&%e2%82%ac=y", {"x": "\u00e9", "\u20ac": "y"}),
            ("?x=%22%5C%0A", {"x": '"\\\n'}),
            ("?x=a=b", {"x": "a=b"}),
            ("?=v", {"": "v"}),
            ("?x=a%00b", {"x": "a%00b"}),
            ("?%00=b", {"%00": "b"}),
            ("?x=%", {"x": "%"}),
            ("?x=%4", {"x": "%4"}),
            ("?x=%zz%4g%g4", {"x": "%zz%4g%g4"}),
            ("?x=%+1%-1", {"x": "% 1%-1"}),
            ("?x=%2541", {"x": "%41"}),
        ]
        daemon = self.daemon()
        for query, request in cases:
            with self.subTest(query=query):
                status, _, reply = daemon.get("/test/echo" + query)
                self.assertEqual((status, reply), (200, {"result": 0, "response": {"request": request}}))

    def test_not_utf8(self):
        daemon = self.daemon()
        for query in ("?x=%ff", "?%ff=x", "?name=%c3", "?name=a&name=%ed%a0%80", "?x=%c0%80"):
            with self.subTest(query=query):
                status, _, reply = daemon.get("/test/echo" + query)
                self.assertEqual((status, reply), (400, {"error": "the query is not UTF-8"}))

    def test_body_of_a_get_is_ignored(self):
        daemon = self.daemon()
        status, _, reply = daemon.request("GET", "/test/echo?x=1", '{"x": 2}', JSON)
        self.assertEqual((status, reply["response"]), (200, {"request": {"x": "1"}}))

    def test_query_of_a_post_is_ignored(self):
        status, _, reply = self.daemon().post("/test/echo_post?x=1&name=a", {"y": 2})
        self.assertEqual((status, reply["response"]), (200, {"request": {"y": 2}}))


class Bodies(DaemonTest):
    def test_objects(self):
        cases = [
            ("{}", {}),
            (" \t\r\n{ } \t\r\n", {}),
            ('{"a": "1", "b": 2, "c": true, "d": null, "e": [1, "x", {}], "f": {"g": -1.5e-05}}',
             {"a": "1", "b": 2, "c": True, "d": None, "e": [1, "x", {}], "f": {"g": -1.5e-05}}),
            ('{"a": [0, -0, -0.0, 10, 1E5, 1e+05, 0e0, 0.50, -12.5e-1]}',
             {"a": [0, 0, -0.0, 10, 1e5, 1e5, 0.0, 0.5, -1.25]}),
            ('{"a-01": "-01 .5 1.", "e": [-1,-2]}', {"a-01": "-01 .5 1.", "e": [-1, -2]}),
            ('{"a": 1, "a": 2}', {"a": 2}),
            ('{"a": "NaN Infinity \' 1. \\\\u0000 \\" N"}', {"a": "NaN Infinity ' 1. \\u0000 \" N"}),
            ('{"a": "\\u00e9\\ud83d\\ude00\\n\\/"}', {"a": "\u00e9\U0001f600\n/"}),
            ('{"\u00e9": "\U0001f600"}'.encode(), {"\u00e9": "\U0001f600"}),
        ]
        daemon = self.daemon()
        for body, request in cases:
            with self.subTest(body=body):
                status, _, reply = daemon.post("/test/echo_post", body)
                self.assertEqual((status, reply), (200, {"result": 0, "response": {"request": request}}))

    def test_not_an_object(self):
        daemon = self.daemon()
        for body in NOT_AN_OBJECT:
            with self.subTest(body=body):
                self.assertEqual(daemon.post("/test/echo_post", body)[::2],
                                 (400, {"error": "the body is not a JSON object"}))

    def test_nesting(self):
        daemon = self.daemon()
        for opening, closing in (('{"a":', "}"), ("[", "]")):
            for inner in ("1", '"x"', "[]", "{}"):
                for depth, status in ((32, 200), (33, 400), (100_000, 400)):
                    with self.subTest(opening=opening, inner=inner, depth=depth):
                        body = '{"a":' + opening * (depth - 1) + inner + closing * (depth - 1) + "}"
                        self.assertEqual(daemon.post("/test/echo_post", body)[0], status)


class ContentTypes(DaemonTest):
    def test_types(self):
        cases = [
            ("application/json", 200),
            ("Application/JSON", 200),
            ("application/json; charset=utf-8", 200),
            ("application/json;charset=utf-8", 200),
            ("application/json ; x=y", 200),
            (None, 415),
            ("", 415),
            ("application/jsonp", 415),
            ("application/json5", 415),
            ("application/json, text/plain", 415),
            ("application/problem+json", 415),
            ("text/json", 415),
            ("text/plain", 415),
            ("text/plain; application/json", 415),
            ("application/x-www-form-urlencoded", 415),
            ("multipart/form-data; boundary=x", 415),
        ]
        daemon = self.daemon()
        for content_type, status in cases:
            with self.subTest(content_type=content_type):
                headers = {} if content_type is None else {"Content-Type": content_type}
                got, _, reply = daemon.request("POST", "/test/echo_post", b"{}", headers)
                self.assertEqual(got, status)
                if status == 415:
                    self.assertEqual(reply, {"error": "the body must be application/json"})


class Malformed(DaemonTest):
    """Requests that no client library sends. None reaches a handler."""

    HOST = b"Host: localhost\r\n"
    POST = b"POST /test/echo_post HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"

    def test_refused(self):
        cases = [
            (b"GET /test/echo HTTP/1.1\r\n\r\n", b"400"),  # no Host
            (b"GET /test/echo HTTP/1.1\r\n" + self.HOST * 2 + b"\r\n", b"400"),
            (self.POST + b"Content-Type: application/json\r\nContent-Length: 2\r\n\r\n{}", b"400"),
            (self.POST + b"Content-Length: x\r\n\r\n{}", b"400"),
            (self.POST + b"Content-Length: -2\r\n\r\n{}", b"400"),
            (self.POST + b"Content-Length: 2\r\nContent-Length: 3\r\n\r\n{}", b"400"),
            (self.POST + b"Transfer-Encoding: chunked\r\n\r\nzz\r\n{}\r\n0\r\n\r\n", b"400"),
            (self.POST + b"Transfer-Encoding: chunked\r\n\r\n-2\r\n{}\r\n0\r\n\r\n", b"400"),
            (b"GET /test/echo HTTP/1.1\r\nno colon\r\n" + self.HOST + b"\r\n", b"400"),
            (b"GET /test/echo HTTP/2.0\r\n" + self.HOST + b"\r\n", b"505"),
            (b"GET /test/echo HTTX/1.1\r\n" + self.HOST + b"\r\n", b"400"),
        ]
        daemon = self.daemon("--timeout", "2")
        for sent, status in cases:
            with self.subTest(sent=sent):
                received = daemon.raw(sent)
                self.assertEqual(received.split(b" ")[1:2], [status], received)
                self.assertNotIn(b'"result"', received)
        self.assertEqual(daemon.get("/test/echo")[0], 200)

    def test_pipelined_requests_are_answered_in_order(self):
        daemon = self.daemon()
        received = daemon.raw(b"".join(b"GET /test/echo?x=%d HTTP/1.1\r\nHost: localhost\r\n%s\r\n" %
                                       (number, b"Connection: close\r\n" if number == 9 else b"")
                                       for number in range(10)))
        answers = [part.split(b'"')[0] for part in received.split(b'"x":"')[1:]]
        self.assertEqual(answers, [b"%d" % number for number in range(10)])

    def test_http_1_0(self):
        received = self.daemon().raw(b"GET /test/echo HTTP/1.0\r\n" + self.HOST + b"\r\n")
        self.assertEqual(received.split(b" ")[1], b"200")
