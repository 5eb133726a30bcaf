# SPDX-License-Identifier: Apache-2.0
"""Handlers: results, the reference of "name", the dispatcher, one at a time, replies of every kind."""

import concurrent.futures
import http.client
import signal

from support import PATIENCE, TEST_PLUGIN, DaemonTest, ask, plugin


class Results(DaemonTest):
    def test_status_of_each_result(self):
        daemon = self.daemon()
        for code, status in ((0, 200), (-5, 400), (-4, 422), (-24, 503), (-1, 500), (1, 500), (-2**31, 500)):
            with self.subTest(code=code):
                got, headers, reply = daemon.post("/test/result", {"code": code})
                self.assertEqual((got, reply), (status, {"result": code, "response": {"msg": "as asked"}}))
                self.assertEqual(headers["Content-Type"], "application/json")
                self.assertEqual(headers["Cache-Control"], "no-store")
                self.assertNotIn("Access-Control-Allow-Origin", headers)


class NameReference(DaemonTest):
    NAMES = (["2g_ssid", "lan_ip"], [], "text", 5, 1.50, True, {"a": [1]}, [["deep"], {"b": None}], None)

    def test_handler_that_releases(self):
        daemon = self.daemon()
        for name in self.NAMES:
            with self.subTest(name=name):
                elements = len(name) if isinstance(name, list) else 0
                self.assertEqual(daemon.post("/test/named_post", {"name": name})[2],
                                 {"result": 0, "response": {"elements": elements}})
                self.assertEqual(daemon.post("/test/named_echo", {"name": name})[2],
                                 {"result": 0, "response": {"names": name, "elements": elements}})

    def test_handler_that_does_not_release(self):
        daemon = self.daemon()
        for name in self.NAMES:
            with self.subTest(name=name):
                request = {"before": 1, "name": name, "after": 2}
                self.assertEqual(daemon.post("/test/echo_post", request)[2]["response"]["request"], request)
                self.assertEqual(daemon.post("/test/echo_name", request)[2]["response"]["names"], name)
                self.assertEqual(daemon.post("/test/result", {**request, "code": -4})[0], 422)

    def test_without_name(self):
        daemon = self.daemon()
        self.assertEqual(daemon.get("/test/named")[2]["response"], {"elements": 0})
        self.assertEqual(daemon.post("/test/named_post", {})[2]["response"], {"elements": 0})

    def test_query(self):
        daemon = self.daemon()
        self.assertEqual(daemon.get("/test/named?name=a&x=1&name=b&name=c")[2]["response"], {"elements": 3})


class Dispatcher(DaemonTest):
    def test_other_plugin(self):
        daemon = self.daemon(plugins=[TEST_PLUGIN, plugin("second")])
        status, _, reply = daemon.post("/test/dispatch", {"path": "/second/answer"})
        self.assertEqual(status, 200)
        self.assertEqual(reply["response"], {"variant": 1, "members_before": 1, "dispatched": 7})

    def test_later_plugin_calls_earlier_one(self):
        daemon = self.daemon(plugins=[plugin("second"), TEST_PLUGIN])
        response = daemon.post("/test/dispatch", {"path": "/second/answer"})[2]["response"]
        self.assertEqual(response["dispatched"], 7)

    def test_unknown_path(self):
        daemon = self.daemon()
        for path in ("/second/answer", "", "/test", "/test/echo/", "test/echo"):
            with self.subTest(path=path):
                self.assertEqual(daemon.post("/test/dispatch", {"path": path})[2]["response"],
                                 {"members_before": 0, "dispatched": -1})

    def test_same_objects(self):
        daemon = self.daemon()
        request = {"path": "/test/echo", "name": ["a"], "other": {"b": 2}}
        self.assertEqual(daemon.post("/test/dispatch", request)[2]["response"],
                         {"request": request, "members_before": 1, "dispatched": 0})

    def test_each_run_may_release_name(self):
        daemon = self.daemon()
        for path in ("/test/named", "/test/named_echo", "/test/echo_name"):
            for times in (1, 2, 50):
                with self.subTest(path=path, times=times):
                    request = {"path": path, "times": times, "name": ["a", "b"]}
                    response = daemon.post("/test/dispatch", request)[2]["response"]
                    self.assertEqual(response["dispatched"], 0)
                    self.assertEqual(response.get("elements", 2), 2)
                    self.assertEqual(response.get("names", ["a", "b"]), ["a", "b"])


class OneAtATime(DaemonTest):
    def test_concurrent_clients_never_overlap(self):
        daemon = self.daemon()

        def client(number):
            connection = http.client.HTTPConnection(daemon.address, daemon.port, timeout=PATIENCE)
            replies = []
            for turn in range(5):
                if (number + turn) % 2:
                    replies.append(ask(connection, "GET", "/test/slow?ms=5"))
                else:
                    replies.append(ask(connection, "POST", "/test/slow_post", '{"ms": 5}',
                                       {"Content-Type": "application/json"}))
            connection.close()
            return replies

        with concurrent.futures.ThreadPoolExecutor(12) as clients:
            replies = [reply for some in clients.map(client, range(12)) for reply in some]
        self.assertEqual(len(replies), 60)
        for status, _, body in replies:
            self.assertEqual((status, body["response"]), (200, {"overlap": 0, "main_thread": 1}))


class Replies(DaemonTest):
    def test_large(self):
        daemon = self.daemon()
        for size in (0, 1, 32768, 5_000_000):
            with self.subTest(size=size):
                status, headers, reply = daemon.get(f"/test/large?size={size}")
                self.assertEqual((status, reply["response"]["text"]), (200, "x" * size))
                length = len('{"result":0,"response":{"text":""}}') + size
                self.assertEqual(int(headers["Content-Length"]), length)

    def test_bytes_are_always_utf8(self):
        daemon = self.daemon()
        bad = "\ufffd"
        cases = [
            ("6162", "ab"),
            ("c3a9", "\u00e9"),
            ("e282ac", "\u20ac"),
            ("f09f9880", "\U0001f600"),
            ("f48fbfbf", "\U0010ffff"),
            ("ff", bad),
            ("61ff62", f"a{bad}b"),
            ("80", bad),
            ("c3", bad),
            ("e282", bad * 2),
            ("f09f98", bad * 3),
            ("c0af", bad * 2),  # overlong
            ("e09fbf", bad * 3),  # overlong
            ("f08fbfbf", bad * 4),  # overlong
            ("eda080", bad * 3),  # surrogate
            ("f4908080", bad * 4),  # beyond U+10FFFF
            ("c3a9c3", f"\u00e9{bad}"),
            ("e28261", f"{bad * 2}a"),
            ("225c0a01", '"\\\n\x01'),
            ("7f2f", "\x7f/"),
        ]
        for given, text in cases:
            with self.subTest(bytes=given):
                self.assertEqual(daemon.get(f"/test/bytes?hex={given}")[2]["response"], {text: text})


class Signals(DaemonTest):
    def test_broken_pipe_in_a_handler(self):
        self.assertEqual(self.daemon().get("/test/broken_pipe")[2], {"result": 0, "response": {"failed": 1}})

    def test_commands_inherit_neither_signals_nor_sockets(self):
        daemon = self.daemon()
        lines = daemon.get("/test/child")[2]["response"]["lines"]
        masks = [line for line in lines if line.startswith("Sig")]
        files = [line for line in lines if not line.startswith("Sig")]
        self.assertEqual(len(masks), 2, lines)
        for mask in masks:
            for number in (signal.SIGPIPE, signal.SIGTERM, signal.SIGINT):
                self.assertFalse(int(mask.split()[1], 16) >> (number - 1) & 1, (mask, number))
        self.assertGreater(len(files), 2, lines)
        for file in files:
            self.assertNotRegex(file, "socket|event", lines)
