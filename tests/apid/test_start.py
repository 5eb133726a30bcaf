# SPDX-License-Identifier: Apache-2.0
"""The command line, the refusals at the start, and the listening socket."""

import os
import socket
import tempfile

from support import TEST_PLUGIN, DaemonTest, plugin, run

ONE = ("--plugin", TEST_PLUGIN)


class CommandLine(DaemonTest):
    def test_help(self):
        done = run("--help")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        for option in ("--listen", "--listen-fd", "--plugin", "--token-file", "--timeout"):
            self.assertIn(option, done.stdout)

    def test_refused(self):
        cases = [
            ((), "no --plugin given"),
            (("--listen", "127.0.0.1:0"), "no --plugin given"),
            ((*ONE, "--colour"), "unrecognized option"),
            ((*ONE, "-x"), "invalid option"),
            ((*ONE, "--plugin"), "requires an argument"),
            ((*ONE, "more"), "not an option: more"),
            ((*ONE, "--listen", "127.0.0.1:1", "--listen-fd", "3"), "exclude each other"),
            ((*ONE, "--listen", ""), "numeric address"),
            ((*ONE, "--listen", "127.0.0.1"), "numeric address"),
            ((*ONE, "--listen", "127.0.0.1:"), "numeric address"),
            ((*ONE, "--listen", "127.0.0.1:65536"), "numeric address"),
            ((*ONE, "--listen", "127.0.0.1:-1"), "numeric address"),
            ((*ONE, "--listen", "127.0.0.1:80x"), "numeric address"),
            ((*ONE, "--listen", "localhost:8080"), "numeric address"),
            ((*ONE, "--listen", "::1:8080"), "numeric address"),
            ((*ONE, "--listen", "[127.0.0.1]:8080"), "numeric address"),
            ((*ONE, "--listen-fd", "-1"), "not a number"),
            ((*ONE, "--listen-fd", "3x"), "not a number"),
            ((*ONE, "--listen-fd", "99999999999"), "not a number"),
            ((*ONE, "--timeout", "0"), "not a number from 1 to 3600"),
            ((*ONE, "--timeout", "3601"), "not a number from 1 to 3600"),
            ((*ONE, "--timeout", "1.5"), "not a number from 1 to 3600"),
            ((*ONE, "--listen", "0.0.0.0:0"), "--token-file must be given"),
            ((*ONE, "--listen", "[::]:0"), "--token-file must be given"),
            ((*ONE, "--listen", "192.0.2.1:80"), "--token-file must be given"),
        ]
        for arguments, message in cases:
            with self.subTest(arguments=arguments):
                done = run(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertIn(message, done.stderr)


class TokenFile(DaemonTest):
    def test_refused(self):
        cases = [
            (b"", "is empty"),
            (b" \n\t\r\n", "is empty"),
            (b"two words", "one word"),
            (b"line\nline", "one word"),
            (b"nul\0nul", "one word"),
            (b"caf\xc3\xa9", "one word"),
            (b"x" * 4097, "one word"),
        ]
        with tempfile.TemporaryDirectory() as folder:
            file = os.path.join(folder, "token")
            for content, message in cases:
                with self.subTest(content=content[:20]):
                    with open(file, "wb") as stream:
                        stream.write(content)
                    done = run(*ONE, "--listen", "127.0.0.1:0", "--token-file", file)
                    self.assertEqual((done.returncode, done.stdout), (1, ""))
                    self.assertIn(f"token file {file}: ", done.stderr)
                    self.assertIn(message, done.stderr)
            for path, message in ((folder, "Is a directory"), (file + ".gone", "No such file")):
                with self.subTest(path=path):
                    done = run(*ONE, "--listen", "127.0.0.1:0", "--token-file", path)
                    self.assertEqual(done.returncode, 1)
                    self.assertIn(f"token file {path}: {message}", done.stderr)


class PlugIns(DaemonTest):
    def test_refused(self):
        with tempfile.NamedTemporaryFile(suffix=".so") as text:
            text.write(b"this is no library\n")
            text.flush()
            registered = "is already registered by"
            cases = [
                ("no_such_file.so", ["cannot be loaded", "No such file"]),
                (text.name, ["cannot be loaded", "file too short"]),
                (plugin("no_entry"), ["has no get_api_entity"]),
                (plugin("unresolved"), ["cannot be loaded", "nobody_has_this"]),
                (plugin("same_path"), [f"path /test/echo {registered} {TEST_PLUGIN}"]),
                (plugin("own_path_twice"), [f"path /twice {registered} " + plugin("own_path_twice")]),
                (TEST_PLUGIN, [f"path /test/echo {registered} {TEST_PLUGIN}"]),
                (plugin("null_path"), ["a route without path, method or handler"]),
                (plugin("null_method"), ["a route without path, method or handler"]),
                (plugin("null_handler"), ["a route without path, method or handler"]),
                (plugin("odd_method"), ["path /odd has the unknown method GET"]),
                (plugin("no_slash"), ["path odd does not begin with a slash"]),
                (plugin("null_table"), ["get_api_entity gives no table"]),
            ]
            for file, messages in cases:
                with self.subTest(file=file):
                    done = run("--listen", "127.0.0.1:0", *ONE, "--plugin", file)
                    self.assertEqual((done.returncode, done.stdout), (1, ""))
                    self.assertTrue(done.stderr.startswith(f"apid: plug-in {file}: "), done.stderr)
                    for message in messages:
                        self.assertIn(message, done.stderr)

    def test_bare_name_is_a_file_of_the_current_folder(self):
        daemon = self.daemon(plugins=["second.so"], cwd=os.path.dirname(plugin("second")))
        self.assertEqual(daemon.get("/second/answer")[0], 500)


class Listening(DaemonTest):
    def serve(self, listener, *arguments):
        return self.daemon("--listen-fd", str(listener.fileno()), *arguments, listen=None,
                           pass_fds=[listener.fileno()])

    def test_ipv6(self):
        daemon = self.daemon(listen="[::1]:0")
        self.assertEqual(daemon.address, "::1")
        self.assertEqual(daemon.get("/test/echo")[0], 200)

    def test_inherited_socket(self):
        for family, address in ((socket.AF_INET, "127.0.0.1"), (socket.AF_INET6, "::1")):
            with self.subTest(address=address), socket.create_server((address, 0), family=family) as listener:
                daemon = self.serve(listener)
                self.assertEqual(daemon.port, listener.getsockname()[1])
                self.assertEqual(daemon.get("/test/echo")[0], 200)

    def test_inherited_socket_refused(self):
        with socket.socket() as idle, socket.socketpair()[0] as local, open(os.devnull, "rb") as file, \
                socket.create_server(("0.0.0.0", 0)) as public:
            not_listening = "is not a listening internet socket"
            cases = [
                ([idle], idle.fileno(), 1, not_listening),
                ([local], local.fileno(), 1, not_listening),
                ([file], file.fileno(), 1, not_listening),
                ([], 1000, 1, not_listening),
                ([public], public.fileno(), 2, "--token-file must be given"),
            ]
            for passed, number, status, message in cases:
                with self.subTest(number=number):
                    done = run(*ONE, "--listen-fd", str(number), pass_fds=[one.fileno() for one in passed])
                    self.assertEqual((done.returncode, done.stdout), (status, ""))
                    self.assertIn(message, done.stderr)

    def test_inherited_unix_socket_refused(self):
        with tempfile.TemporaryDirectory() as folder, socket.socket(socket.AF_UNIX) as listener:
            listener.bind(os.path.join(folder, "socket"))
            listener.listen()
            done = run(*ONE, "--listen-fd", str(listener.fileno()), pass_fds=[listener.fileno()])
            self.assertEqual(done.returncode, 1)
            self.assertIn("is not a listening internet socket", done.stderr)

    def test_port_in_use(self):
        daemon = self.daemon()
        done = run(*ONE, "--listen", daemon.host)
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"cannot listen on {daemon.host}: Address already in use", done.stderr)

    def test_port_is_free_again_at_once(self):
        first = self.daemon()
        first.get("/test/echo")
        self.assertEqual(first.stop(), (0, ""))
        self.assertEqual(self.daemon(listen=first.host).get("/test/echo")[0], 200)

    def test_address_that_is_not_ours(self):
        with tempfile.NamedTemporaryFile("w") as token:
            token.write("secret\n")
            token.flush()
            done = run(*ONE, "--listen", "192.0.2.1:0", "--token-file", token.name)
        self.assertEqual(done.returncode, 1)
        self.assertIn("cannot listen on 192.0.2.1:0", done.stderr)
