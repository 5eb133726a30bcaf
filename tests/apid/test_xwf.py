# SPDX-License-Identifier: Apache-2.0
"""The companion plug-in, by itself and behind another plug-in's route."""

import os
import tempfile

from support import TEST_PLUGIN, DaemonTest

XWF = os.environ["APID_XWF"]
SETTINGS = {"xwf_ssid": "Caf\u00e9 guest", "xwf_mode": "portal", "xwf_url": "http://example.com/?a=b&c='d'"}


class Xwf(DaemonTest):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.config = os.path.join(folder.name, "xwf")
        folders = {"UCI_CONFIG_DIR": folder.name, "UCI_DELTA_DIR": os.path.join(folder.name, "delta")}
        self.daemon_with_xwf = self.daemon(plugins=[XWF, TEST_PLUGIN], env={**os.environ, **folders})

    def install(self, content=""):
        with open(self.config, "w", encoding="utf-8") as file:
            file.write(content)

    def get(self, query=""):
        status, _, reply = self.daemon_with_xwf.get("/xwf/batch_get" + query)
        self.assertEqual((status, reply["result"]), (200, 0))
        return reply["response"]

    def set(self, value):
        status, _, reply = self.daemon_with_xwf.post("/xwf/batch_set", value)
        self.assertEqual(reply["response"], {})
        return status, reply["result"]

    def test_set_and_get(self):
        self.install()
        self.assertEqual(self.get(), {})
        self.assertEqual(self.set({**SETTINGS, "xwf_enable": "1", "lan_ip": "10.0.0.1"}), (200, 0))
        self.assertEqual(self.get(), SETTINGS)
        with open(self.config, encoding="utf-8") as file:
            self.assertEqual(file.read().strip(), "\n".join([
                "config xwf 'general'", "\toption xwf_ssid 'Caf\u00e9 guest'", "\toption xwf_mode 'portal'",
                "\toption xwf_url 'http://example.com/?a=b&c='\\''d'\\'''"]))

    def test_named(self):
        self.install()
        self.set(SETTINGS)
        for query, keys in (("?name=xwf_mode", ["xwf_mode"]), ("?name=xwf_mode&name=2g_ssid", ["xwf_mode"]),
                            ("?name=xwf_url&name=xwf_ssid", ["xwf_ssid", "xwf_url"]),
                            ("?name=2g_ssid", []), ("?name=", [])):
            with self.subTest(query=query):
                self.assertEqual(self.get(query), {key: SETTINGS[key] for key in keys})

    def test_only_the_members_given_change(self):
        self.install("config xwf 'general'\n\toption xwf_mode 'old'\n\toption other 'kept'\n")
        self.assertEqual(self.set({"xwf_ssid": "new", "xwf_mode": None}), (200, 0))
        self.assertEqual(self.get(), {"xwf_ssid": "new", "xwf_mode": "old"})
        with open(self.config, encoding="utf-8") as file:
            self.assertIn("\toption other 'kept'\n", file.read())

    def test_without_the_package(self):
        self.assertEqual(self.set(SETTINGS), (500, 1))
        self.assertEqual(self.get(), {})
        self.assertFalse(os.path.exists(self.config))

    def test_forwarded(self):
        self.install()
        forward = {"path": "/xwf/batch_set", **SETTINGS}
        self.assertEqual(self.daemon_with_xwf.post("/test/dispatch", forward)[2]["response"]["dispatched"], 0)
        for name, keys in ((None, list(SETTINGS)), (["xwf_ssid"], ["xwf_ssid"]), ([], [])):
            with self.subTest(name=name):
                forward = {"path": "/xwf/batch_get", "name": name, "times": 2}
                response = self.daemon_with_xwf.post("/test/dispatch", forward)[2]["response"]
                settings = {key: SETTINGS[key] for key in keys}
                self.assertEqual(response, {**settings, "members_before": len(keys), "dispatched": 0})
