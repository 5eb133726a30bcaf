# SPDX-License-Identifier: Apache-2.0
"""What the document says that the daemon answers, against the running daemon: every refusal and every result."""
import tempfile
import unittest

from openapi import TEXTS
from openapi_document import Document
from support import DaemonTest, read_all, replies

TOKEN = "harbour-token"
REFUSAL = {"$ref": "#/components/schemas/Refusal"}
KIB, MIB = 1 << 10, 1 << 20


def head(method, target, version="HTTP/1.1", **more):
    """A request without a body; a header that is None is left out."""
    headers = {"Host": "localhost", "Authorization": f"Bearer {TOKEN}"}
    headers |= {name.replace("_", "-"): value for name, value in more.items()}
    lines = [f"{name}: {value}" for name, value in headers.items() if value is not None]
    return "\r\n".join([f"{method} {target} {version}", *lines, "", ""]).encode()


def posting(method, target, body="{}", **more):
    """The same with a body where the method has one."""
    if method == "GET":
        return head(method, target, **more)
    sent = {"Content_Type": "application/json", "Content_Length": len(body)} | more
    return head(method, target, **sent) + body.encode()


# What the daemon refuses with the status, at an operation of the document.
PROVOCATIONS = {
    "400": lambda method, path: posting(method, f"{path}?x=%ff", "[]"),
    "401": lambda method, path: posting(method, path, Authorization="Bearer another"),
    "403": lambda method, path: posting(method, path, Origin="http://example.com"),
    "413": lambda method, path: posting(method, path, "", Content_Length=MIB + 1),
    "414": lambda method, path: posting(method, f"{path}?{'x' * 32 * KIB}"),
    "415": lambda method, path: posting(method, path, Content_Type="text/plain"),
    "417": lambda method, path: posting(method, path, Expect="the best"),
    "421": lambda method, path: posting(method, path, Host="example.com"),
    "431": lambda method, path: posting(method, path, X="x" * 32 * KIB),
    "501": lambda method, path: posting(method, path, "", Content_Length=None, Transfer_Encoding="gzip"),
    "505": lambda method, path: head(method, path, "HTTP/2.0"),
}


UNPROVOKED = {"500"}  # which takes a router whose memory is full: its own tests do that


class TheDaemon(DaemonTest):
    @classmethod
    def setUpClass(cls):
        cls.document = Document()

    def served(self):
        """The routes that ship, with handlers that do nothing."""
        with tempfile.NamedTemporaryFile("w", encoding="ascii") as file:
            file.write(TOKEN)
            file.flush()
            return self.daemon("--token-file", file.name)

    def answer(self, daemon, sent):
        with daemon.connect() as client:
            client.sendall(sent)
            client.shutdown(1)
            (status, headers, body), = replies(read_all(client))
        return str(status), headers, body

    def check(self, daemon, sent, status, schema):
        got, headers, body = self.answer(daemon, sent)
        self.assertEqual(got, status, body)
        self.assertEqual(self.document.errors(body, schema), [])
        return headers

    def test_refuses_as_every_operation_says(self):
        daemon = self.served()
        for method, path, operation in self.document.operations():
            for status in operation["responses"].keys() - UNPROVOKED:
                schema = self.document.media(operation, status)["schema"]
                if REFUSAL in schema.get("oneOf", [schema]):
                    with self.subTest(f"{method} {path} {status}"):
                        self.check(daemon, PROVOCATIONS[status](method.upper(), path), status, REFUSAL)

    def test_refuses_what_is_no_operation(self):
        daemon = self.served()
        responses = self.document.content["components"]["responses"]
        schemas = {name: row["content"]["application/json"]["schema"] for name, row in responses.items()}
        for method, path, _ in self.document.operations():
            with self.subTest(path):
                self.check(daemon, head(method.upper(), path + "/x"), "404", schemas["NotFound"])
                headers = self.check(daemon, head("DELETE", path), "405", schemas["MethodNotAllowed"])
                self.assertEqual(headers["allow"], method.upper())

    def test_gives_each_result_its_status(self):
        daemon = self.served()
        path = next(path for method, path, _ in self.document.operations() if method == "post")
        results = {-1 if result == "other" else int(result): str(row["status"])
                   for result, row in TEXTS["daemon"]["results"].items()}
        for result, status in results.items():
            with self.subTest(result):
                got, _, body = self.answer(daemon, posting("POST", path, f'{{"result": {result}}}'))
                self.assertEqual((got, body), (status, {"result": result, "response": {}}))

    def test_is_provoked_to_every_refusal(self):
        refusals = TEXTS["daemon"]["refusals"]
        self.assertEqual({status for status, row in refusals.items() if row["of"] != "none"},
                         PROVOCATIONS.keys() | UNPROVOKED)
        self.assertEqual({row["name"] for row in refusals.values()},
                         set(self.document.content["components"]["responses"]))
        used = {status for _, _, operation in self.document.operations() for status in operation["responses"]}
        self.assertLessEqual(set(PROVOCATIONS), used)


if __name__ == "__main__":
    unittest.main()
