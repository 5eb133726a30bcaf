# SPDX-License-Identifier: Apache-2.0
"""Streams: order, errors that name their line, answers while the sender waits, and flat memory."""
import contextlib
import json
import os
import subprocess
import threading
import time
import unittest

from bodies import NOT_AN_OBJECT
from support import AEROLINK, OPTIONS, factory, models, outcomes, plan, run, stream

LINES = 2000  # enough for a leak of a few hundred bytes a device to show


class Lines(unittest.TestCase):
    def test_one_plan_a_line_in_their_order(self):
        lines = [factory(model) | {"id": number} for number, model in enumerate(models())]
        plans, done = stream(lines, '{"2g_ssid": "x"}')
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual([made["id"] for made in plans], list(range(len(lines))))
        self.assertEqual([made["model"] for made in plans], models())

    def test_a_line_s_own_request_and_route(self):
        lines = [{"model": "heron", "request": {"2g_ssid": "x"}}, {"model": "heron", "request": {}, "route": "set_config"},
                 {"model": "heron", "request": {"name": ["lan_ip"]}, "route": "/cloud/aerolink/batch_get"}]
        plans, _ = stream(lines)
        self.assertEqual([made["route"].rpartition("/")[2] for made in plans], ["batch_set", "set_config", "batch_get"])
        self.assertEqual(plans[2]["response"], {"lan_ip": "192.168.62.1"})
        plans, _ = stream(lines[:1], "--route", "set_config")
        self.assertEqual(plans[0]["route"], "/whiteboard/set_config")

    def test_the_same_plan_as_alone(self):
        request = {"2g_key": "short", "lan_ip": "x", "hostnam": 1}
        plans, _ = stream([factory(model) for model in models()], json.dumps(request))
        alone = run("plan", "--json", json.dumps(request)).stdout.splitlines()
        self.assertEqual(plans, list(map(json.loads, alone)))

    def test_blank_lines_and_no_last_line_end(self):
        text = f"\n  \r\n{json.dumps(factory('heron'))}\r\n\n{json.dumps(factory('wren'))}"
        done = run("plan", "--stream", "{}", stdin=text)
        self.assertEqual([json.loads(line)["model"] for line in done.stdout.splitlines()], ["heron", "wren"])

    def test_nothing_at_all(self):
        done = run("plan", "--stream", "{}", stdin="")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))


class BadLines(unittest.TestCase):
    GOOD = json.dumps({"model": "heron"}).encode()

    # A line, and what its error says behind the number of the line.
    TABLE = [
        (b"x", "column 1: unexpected character"),
        (b"{", "column 2: the JSON is not complete"),
        (b'{"model": "heron"} x', "column 20: something follows the JSON"),
        (b"[]", "a device is a JSON object"), (b"null", "a device is a JSON object"), (b"1", "a device is a JSON object"),
        (b'{}', '"model" is missing'), (b'{"model": null}', '"model" is missing'), (b'{"model": ""}', '"model" is missing'),
        (b'{"model": 1}', '"model" must be a string'), (b'{"model": "a\\u0000b"}', '"model" must not hold a NUL'),
        (b'{"model": "submarine"}', '"uci" is missing, and there is no profile of a submarine'),
        (b'{"model": "heron", "uci": 1}', '"uci" must be the text'),
        (b'{"model": "heron", "uci": "config x"}', '"uci" is no configuration: Parse error'),
        (b'{"model": "heron", "uci": "package a\\nconfig a\\n\\toption b \'x\\u0000y\'"}', '"uci" is no configuration'),
        (b'{"model": "heron", "uci": "' + b"#" * 262145 + b'"}', '"uci" is no configuration: larger than 262144 bytes'),
        (b'{"model": "heron", "uci": "package a\\n' + b"config a;" * 29000 + b'"}', "more than 4000 sections"),
        (b'{"model": "heron", "repeater": "yes"}', '"repeater" must be true or false'),
        (b'{"model": "heron", "repeeter": true}', '"repeeter" is no member of a device: "repeater" is'),
        (b'{"model": "heron", "companion": "here"}', '"companion" must be "absent"'),
        (b'{"model": "heron", "companion_seconds": -1}', '"companion_seconds" must be a number'),
        (b'{"model": "heron", "files": []}', '"files" must be'), (b'{"model": "heron", "files": {"a": "b"}}', '"files" must'),
        (b'{"model": "heron", "files": {"/a": 1}}', '"files" must hold texts'),
        (b'{"model": "heron", "id": {}}', '"id" must be a string or a number'),
        (b'{"model": "heron", "request": {}}', '"request" stands in the line and on the command line'),
        (b'{"model": "heron", "route": "nosuch"}', "there is no route nosuch"),
        (b'{"model": "heron", "route": 1}', '"route" must be a string'),
        (b'{"model": "h\xffn"}', "column "),
        (b"[" * 100000, "column 35: nesting too deep"),
        (b'{"model": "heron", "repeater": NaN}', "column 32: JSON has no number of this name"),
        (b"{'model': 1}", "column 2: JSON has strings in double quotes only"),
        (b'\xef\xbb\xbf{"model": "heron"}', "column 1: a byte order mark before the JSON"),
        (b'{"model": "heron", "x": ' + b'{"a":' * 40 + b"1" + b"}" * 41, "nesting too deep"),
    ]

    def test_the_stream_goes_on(self):
        text = b"".join(bad + b"\n" + self.GOOD + b"\n" for bad, _ in self.TABLE)
        done = run("plan", "--stream", "{}", stdin=text)
        answers = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual(len(answers), 2 * len(self.TABLE))
        for number, (bad, reason) in enumerate(self.TABLE):
            with self.subTest(bad[:60]):
                self.assertIn(f"standard input, line {2 * number + 1}: ", answers[2 * number]["error"])
                self.assertIn(reason, answers[2 * number]["error"])
                self.assertEqual(answers[2 * number + 1]["result"], 0)
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"no plan for {len(self.TABLE)} of {2 * len(self.TABLE)} lines", done.stderr.decode())

    def test_the_device_is_named(self):
        plans, _ = stream([{"id": "ap-17"}, {"id": 3, "model": "submarine"}], "{}")
        self.assertEqual([made["id"] for made in plans], ["ap-17", 3])

    def test_a_request_of_a_line_is_what_the_daemon_takes(self):
        deepest = {"hostname": 1}
        for _ in range(31):
            deepest = {"hostname": deepest}
        lines = [{"model": "heron", "request": request} for request in
                 ({"hostname": "a\0b"}, {"hostname": ["x", {"a": "\0"}]}, {"hostname": deepest}, deepest)]
        plans, done = stream(lines)
        self.assertEqual(["must not hold a NUL" in made.get("error", "") for made in plans], [True, True, False, False])
        self.assertEqual(["nesting too deep" in made.get("error", "") for made in plans], [False, False, True, False])
        self.assertEqual(done.returncode, 1)

    def test_characters_beyond_16_bits(self):
        """Escaped in pairs, as Python writes them; json-c 0.16 cannot read every one."""
        for text in ("\U0001d801", "\U0001f600", "\U0001dfffx", "\U0010ffff\\ud836\\udc01", "\\\U0001d801"):
            uci = f"package network\n\nconfig interface 'lan'\n\toption ipaddr '{text}'\n"
            with self.subTest(text=text):
                made = plan({"lan_ip": text + "1"}, {"model": "heron", "uci": uci})
                self.assertEqual(made["changes"], [{"path": "network.lan.ipaddr", "from": text, "to": text + "1"}])

    def test_a_request_must_be_there(self):
        plans, _ = stream([{"model": "heron"}, {"model": "heron", "request": []}])
        self.assertIn('"request" is missing', plans[0]["error"])
        self.assertIn('"request" must be an object', plans[1]["error"])

    def test_a_line_of_any_length(self):
        text = b"x" * (9 << 20) + b"\n" + self.GOOD + b"\n" + b"y" * (9 << 20)
        done = run("plan", "--stream", "{}", stdin=text)
        answers = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertIn("line 1: longer than 8388608 bytes", answers[0]["error"])
        self.assertEqual(answers[1]["model"], "heron")
        self.assertIn("line 3: longer than 8388608 bytes", answers[2]["error"])

    def test_members_that_come_twice_and_bytes_that_are_no_text(self):
        text = b'{"model": "wren", "model": "heron"}\n'
        done = run("plan", "--stream", "{}", stdin=text)
        self.assertEqual(json.loads(done.stdout)["model"], "heron")  # as every JSON reader of the firmware has it
        latin = "package system\\nconfig system\\n\\toption hostname 'caf\xe9'\\n".encode("latin-1")
        done = run("plan", "--stream", "{}", stdin=b'{"model": "heron", "uci": "' + latin + b'"}\n')
        self.assertIn("error", json.loads(done.stdout))


class Use(unittest.TestCase):
    def refused(self, text, *arguments, stdin=""):
        done = run(*arguments, stdin=stdin)
        self.assertEqual((done.returncode, done.stdout), (1, ""), done)
        self.assertIn(text, done.stderr)

    def test_wrong_use(self):
        self.refused("there is no request", "plan")
        self.refused("see aerolink plan --help", "plan", "--nosuch", "{}")
        self.refused("one request only", "plan", "{}", "{}")
        self.refused("--all-models excludes", "plan", "--all-models", "--model", "heron", "{}")
        self.refused("takes no other", "plan", "--stream", "--model", "heron", "{}")
        self.refused("there is no route nosuch; there are", "plan", "--route", "nosuch", "{}")
        self.refused("cannot be both", "plan", "--stream", "-")
        self.refused("cannot be both", "plan", "--device", "-", "-")
        if not OPTIONS:  # they name a plug-in
            self.refused("nosuch.so", "plan", "--plugin", "/nosuch.so", "{}")
        self.refused("what is x?", "snapshot", "x")
        self.refused("--nosuch is no option here; see aerolink plan --help", "plan", "--nosuch", "{}")
        self.refused("--model needs a value", "snapshot", "--model")
        self.refused("--all-models is no option here", "export", "--all-models")

    def test_an_option_that_says_nothing_or_twice(self):
        for word in ("plan", "check"):
            for name in ("--model", "--device", "--route"):
                self.refused(f"{name} is empty", word, name, "", "{}")
                self.refused(f"{name} is empty", word, f"{name}=", "{}")
        self.refused("--device is empty", "snapshot", "--device", "")
        self.refused("--model is empty", "export", "--model", "")
        self.refused("--plugin is empty", "export", "--model", "heron", "--plugin", "")
        self.refused("--model stands there twice", "plan", "--model", "heron", "--model", "finch", "{}")
        self.refused("--route stands there twice", "check", "--route", "batch_set", "--route", "set_config", "{}")

    def test_wrong_requests(self):
        self.refused("nosuch.json: No such file", "plan", "nosuch.json")
        self.refused("the request: a request is a JSON object", "plan", "[1]")
        self.refused("the request: column 15: ", "plan", '{"2g_ssid": "}')
        self.refused("-: line 2, column 1: ", "plan", "-", stdin='{\n!}\n')
        self.refused("-: a request is a JSON object", "plan", "-", stdin='"x"')
        self.refused("the request is empty", "plan", "")
        self.refused("/etc: Is a directory", "plan", "/etc")
        self.refused("-: larger than the 1048576 bytes that the daemon takes", "plan", "-",
                     stdin='{"hostname": "' + "x" * (1 << 20) + '"}')

    def test_a_request_is_what_the_daemon_takes(self):
        """The same bodies as in the daemon's own test."""
        for body in NOT_AN_OBJECT:
            with self.subTest(body=body):
                done = run("check", "--model", "heron", "-", stdin=body if isinstance(body, bytes) else body.encode())
                self.assertEqual((done.returncode, done.stdout), (1, b""), done)
                self.assertTrue(done.stderr.startswith(b"aerolink check: -: "), done.stderr)
        for body in ('{"hostname": 1e5}', '{"hostname": -0.5}', '{"hostname": "\\\\u0000"}', ' {"hostname": "x"}\r\n'):
            self.assertEqual(run("check", "--model", "heron", "-", stdin=body).returncode, 0, body)

    def test_a_request_from_a_file_or_standard_input(self):
        expected = plan({"2g_ssid": "x"})
        done = run("plan", "--json", "--model", "heron", "-", stdin='{"2g_ssid": "x"}')
        self.assertEqual(json.loads(done.stdout), expected)
        self.assertEqual(outcomes(expected), {"2g_ssid": "changed"})

    def test_help(self):
        for word in ("plan", "check", "snapshot"):
            for done in (run(word, "--help"), run("help", word)):
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertIn(f"usage: aerolink {word}", done.stdout)


class Sender(unittest.TestCase):
    def start(self, *arguments):
        process = subprocess.Popen([AEROLINK, "plan", *OPTIONS, "--stream", *arguments], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE)
        watchdog = threading.Timer(20, process.kill)
        watchdog.start()

        def end():
            watchdog.cancel()
            process.kill()
            process.stdout.close()
            with contextlib.suppress(BrokenPipeError):
                process.stdin.close()
            process.wait()
        self.addCleanup(end)
        return process

    def test_who_waits_for_an_answer_gets_it(self):
        process = self.start("{}")
        for _ in range(3):
            process.stdin.write(b'{"model": "heron"}\n{"model": "wren"}\n')
            process.stdin.flush()
            for model in ("heron", "wren"):
                self.assertEqual(json.loads(process.stdout.readline() or '{"model": "late"}')["model"], model)
        process.stdin.close()
        self.assertEqual(process.wait(20), 0)

    def test_who_stops_reading_ends_it(self):
        process = self.start("{}")
        process.stdout.close()
        with self.assertRaises(BrokenPipeError):
            deadline = time.monotonic() + 20
            while time.monotonic() < deadline:
                process.stdin.write(b'{"model": "heron"}\n' * 100)
                process.stdin.flush()
        self.assertNotEqual(process.wait(20), 0)

    @unittest.skipIf(OPTIONS, "a sanitizer keeps freed memory")
    def test_memory_does_not_grow(self):
        def peak(count):
            read, write = os.pipe()
            process = subprocess.Popen(
                [AEROLINK, "plan", *OPTIONS, "--stream", '{"2g_key": "short", "hostnam": "x", "password": "abcdefgh"}'],
                stdin=read, stdout=subprocess.DEVNULL)
            os.close(read)
            with os.fdopen(write, "w", encoding="utf-8") as out:
                for number in range(count):
                    out.write(f'{{"model": "heron", "id": {number}, "service_code": "ABCD{number:04}"}}\n')
            _, status, usage = os.wait4(process.pid, 0)
            process.returncode = status
            self.assertEqual(status, 0)
            return usage.ru_maxrss

        few, many = peak(LINES // 10), peak(LINES)
        self.assertLess(many - few, 2048)  # KiB
        self.assertLess(many, 64 << 10)


if __name__ == "__main__":
    unittest.main()
