# SPDX-License-Identifier: Apache-2.0
"""What the console reads and compares, without a router."""
import asyncio
import tempfile
import unittest
from pathlib import Path

from router import SOURCE
import console  # noqa: F401  names the folders of the next
from box_files import parse_show
from push import changes_between, effects_of_first, faults_of
from secrets_shown import Secrets
from timeline import Tail, Timeline, cut
from boxes.state import State


def shown(pieces):
    """The pieces as one text, secrets as stars."""
    return "".join(piece if isinstance(piece, str) else "*" * len(piece["secret"]) for piece in pieces)


class SecretsShown(unittest.TestCase):
    def setUp(self):
        self.secrets = Secrets()
        self.secrets.add(["2g_key", "password"], ["wireless.x.key"])

    def test_members_by_name_whatever_they_hold(self):
        for text, expected in [
                ('input={"2g_key":"x","2g_ssid":"y"}', 'input={"2g_key":"*","2g_ssid":"y"}'),
                ('{"2g_key": "a \\"b\\" c"}', '{"2g_key": "*********"}'),
                ('{"2g_key":""}', '{"2g_key":""}'),
                ('{"other":"2g_key"}', '{"other":"2g_key"}')]:
            self.assertEqual(shown(self.secrets.pieces(text)), expected)

    def test_what_a_request_held_wherever_it_stands(self):
        self.secrets.learn_members({"2g_key": "tide's $table", "password": 'quo"te', "2g_ssid": "open name", "odd": 3})
        for text, expected in [
                ("iwpriv ra0 set WPAPSK=tide's $table", "iwpriv ra0 set WPAPSK=*************"),
                ("(echo tide\\'s\\ \\$table; sleep 1)", "(echo ****************; sleep 1)"),
                ('{"a":"quo\\"te"}', '{"a":"*******"}'), ("open name", "open name")]:
            self.assertEqual(shown(self.secrets.pieces(text)), expected)

    def test_short_ones_are_not_looked_for(self):
        self.secrets.learn("abc")
        self.assertEqual(self.secrets.pieces("abc"), ["abc"])

    def test_an_option(self):
        self.assertEqual(self.secrets.value("wireless.x.key", "x"), [{"secret": "x"}])
        self.assertEqual(self.secrets.value("wireless.x.key", None), ["(nothing)"])
        self.assertEqual(self.secrets.value("wireless.x.ssid", "x"), ["x"])

    def test_no_piece_is_lost(self):
        self.secrets.learn("secret text")
        text = 'a secret text b {"password": "c"} secret text'
        pieces = self.secrets.pieces(text)
        self.assertEqual("".join(piece if isinstance(piece, str) else piece["secret"] for piece in pieces), text)

    def test_a_cut_stays_within_its_length_and_hides_what_was_hidden(self):
        self.assertEqual(cut(["a" * 8190, {"secret": "bcdef"}]), ["a" * 8190, {"secret": "bc"}, " …"])


class Tails(unittest.TestCase):
    def test_whole_lines_of_a_file_that_grows_and_is_put_aside(self):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder, "log")
            tail = Tail(path)
            self.addCleanup(lambda: tail.file.close())
            self.assertEqual(tail.lines(), [])
            path.write_bytes(b"one\ntw")
            self.assertEqual(tail.lines(), ["one"])
            with path.open("ab") as file:
                file.write(b"o\nthree\n")
            path.rename(path.with_suffix(".old"))
            path.write_bytes(b"four\n\xff\n")
            self.assertEqual(tail.lines(), ["two", "three", "four", "\ufffd"])
            self.assertEqual(tail.lines(), [])


class TrueOrder(unittest.IsolatedAsyncioTestCase):
    async def test_of_three_files(self):
        with tempfile.TemporaryDirectory() as folder:
            log = Path(folder, "var/log")
            log.mkdir(parents=True)
            (log / "trace").write_text('{"time":"2026-01-01T00:00:00.000001Z","kind":"request","of":{"path":"/p"}}\n'
                                       "no json\n[]\n"
                                       '{"time":"2026-01-01T00:00:00.000004Z","kind":"reply","of":null}\n')
            (log / "journal").write_text("2026-01-01T00:00:00.000003Z boot\n")
            (log / "log").write_text("2026-01-01T00:00:00.000002Z daemon.info apid[1]: hello\n")
            timeline = Timeline(State(folder))
            await timeline.look()
            self.assertEqual([event["kind"] for event in timeline.events], ["request", "log", "journal", "request"])
            with (log / "log").open("a") as late:
                late.write("2026-01-01T00:00:00.000001Z user.info late: one\n")
            await timeline.look()
            self.assertEqual([event["what"] for event in timeline.events],
                             ["request", "user.info", "daemon.info", "boot", "reply"])
            self.assertEqual([event["what"] for event in timeline.since(4)], ["user.info"])
            self.assertFalse(await timeline.wait_for_more(5, 0.01))
            waiting = asyncio.create_task(timeline.wait_for_more(5, 5))
            with (log / "journal").open("a") as file:
                file.write("2026-01-01T00:00:01.000003Z reboot\n")
            await timeline.look()
            self.assertTrue(await waiting)


class Verdicts(unittest.TestCase):
    def test_the_answer_to_a_write_is_no_secret_and_that_to_a_read_is(self):
        timeline = Timeline(State("/nonexistent"))
        timeline.secrets.add(["2g_key"], [])
        reply = {"status": 200, "reply": {"result": 0, "response": {"2g_key": "set false"}}}
        timeline.text_of("request", {"method": "POST", "path": "/p", "request": {"2g_key": "short"}})
        self.assertIn('"set false"', shown(timeline.text_of("reply", reply)))
        self.assertEqual(timeline.secrets.pieces("x: set false"), ["x: set false"])
        timeline.text_of("request", {"method": "GET", "path": "/p", "request": {}})
        self.assertNotIn("set false", shown(timeline.text_of("reply", reply)))


PLAN = {"result": 0, "response": {"2g_key": "set false"},
        "changes": [{"path": "a.b.c", "from": None, "to": "1"}],
        "effects": [{"kind": "log", "message": "x"}, {"kind": "set", "path": "a.b.c", "value": "1", "key": "k"},
                    {"kind": "commit", "package": "a"}, {"kind": "sync"}, {"kind": "fork", "command": "reload"}]}
REALITY = {"result": 0, "response": {"2g_key": "set false"},
           "changes": [{"path": "a.b.c", "from": None, "to": "1"}],
           "effects": [{"kind": "set", "path": "a.b.c", "from": None, "value": "1"}, {"kind": "commit", "path": "a"},
                       {"kind": "fork", "command": "reload"}]}


class Comparison(unittest.TestCase):
    def test_what_happened_as_planned(self):
        self.assertEqual(faults_of(PLAN, REALITY), [])

    def test_each_difference_is_a_fault(self):
        for change, what in [({"result": -4}, "result"), ({"response": {}}, "answer 2g_key"),
                             ({"response": {**PLAN["response"], "x": "set false"}}, "answer x"),
                             ({"changes": []}, "change a.b.c"),
                             ({"changes": [{"path": "a.b.c", "from": None, "to": "2"}]}, "change a.b.c"),
                             ({"changes": [*REALITY["changes"], {"path": "d.e.f", "from": "1", "to": None}]},
                              "change d.e.f"),
                             ({"effects": REALITY["effects"][:-1]}, "effects"),
                             ({"effects": REALITY["effects"][::-1]}, "effects"),
                             ({"effects": [*REALITY["effects"], {"kind": "system", "command": "rm"}]}, "effects")]:
            with self.subTest(change):
                self.assertIn(what, [fault["what"] for fault in faults_of(PLAN, REALITY | change)])

    def test_what_a_companion_does_is_not_the_plans(self):
        nested = [{"kind": "set", "path": "xwf.general.x", "value": "1", "nested": True}]
        reality = REALITY | {"effects": [*REALITY["effects"], *nested],
                             "changes": [*REALITY["changes"], {"path": "xwf.general.x", "from": None, "to": "1"}]}
        self.assertEqual(faults_of(PLAN, reality), [])

    def test_effects_of_one_request(self):
        entries = [{"kind": kind, "of": of} for kind, of in [
            ("set", {"path": "before"}), ("request", {"path": "/other"}), ("reply", {}), ("request", {"path": "/mine"}),
            ("set", {"path": "one"}), ("sync", {}), ("dispatch", {"path": "/x"}), ("set", {"path": "two"}),
            ("dispatched", {"path": "/x"}), ("fork", {"command": "three"}), ("reply", {}), ("set", {"path": "after"})]]
        self.assertEqual(effects_of_first(entries, "/mine"),
                         [{"kind": "set", "path": "one"}, {"kind": "set", "path": "two", "nested": True},
                          {"kind": "fork", "command": "three"}])
        self.assertIsNone(effects_of_first(entries[:-2], "/mine"), "there is no reply yet")

    def test_changes(self):
        before = {"a.b": "x", "a.b.c": "1", "a.b.d": "2"}
        self.assertEqual(changes_between(before, {"a.b.c": "1", "a.b.d": "3", "a.b.e": "4"}),
                         [{"path": "a.b.d", "from": "2", "to": "3"}, {"path": "a.b.e", "from": None, "to": "4"}])


class Show(unittest.TestCase):
    def test_values_of_every_kind(self):
        text = "a.b=type\na.b.c='it'\\''s'\na.b.list='one' 'two 2'\na.b.lines='x\ny.z.w='\\''q'\na.b.none=''\n"
        self.assertEqual(parse_show(text), {"a.b": "type", "a.b.c": "it's", "a.b.list": "one two 2",
                                            "a.b.lines": "x\ny.z.w='q", "a.b.none": ""})


class Page(unittest.TestCase):
    def test_knows_no_key_check_or_outcome_by_itself(self):
        # But for two sentences of the world's switches, which name files and a key in words.
        for file in (SOURCE / "tools/console/page").glob("*.js"):
            text = file.read_text(encoding="utf-8")
            for word in ("_ssid", "_txpower", "lan_ip", "wireless.", "zuconfig", "innerHTML", "eval(", "http"):
                self.assertNotIn(word, text, file.name)


if __name__ == "__main__":
    unittest.main()
