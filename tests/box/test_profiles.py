# SPDX-License-Identifier: Apache-2.0
"""A new router of every model, and the time-zone table."""
import hashlib
import unittest
from pathlib import Path

from accounts import md5_crypt
from families import FAMILY_OF
from router import IMAGE, Router, models
from vocabulary import COMMON, TABLES

# The radios and their interfaces, in the order in which a new router has them.
ARDEA = ["wifi0", "@wifi-iface[0]", "wifi1", "@wifi-iface[1]", "guest2g", "guest5g"]
MT76X8 = ["mt7628", "@wifi-iface[0]", "guest2g"]
SINGLE = ["radio0", "default_radio0", "guest2g"]
DUAL = ["radio0", "default_radio0", "radio1", "default_radio1", "guest2g", "guest5g"]
WIRELESS_OF = {
    **dict.fromkeys(["heron", "egret", "crane", "stork", "falcon"], ARDEA),
    **dict.fromkeys(["plover", "plover-v2", "linnet", "pipit"], MT76X8),
    "wren": ["mt7615e5", "@wifi-iface[0]", "mt7615e2", "@wifi-iface[1]", "guest5g", "guest2g"],
    **dict.fromkeys(["finch", "generic-single"], SINGLE),
    **dict.fromkeys(["osprey", "generic-dual"], DUAL),
    **dict.fromkeys(["lark", "swift", "robin", "dove", "teal", "gull", "kite", "rook", "ibis"], DUAL),
}
PACKAGES = {"dhcp", "luci", "network", "rtty", "system", "wireless", "zubigdata", "zuconfig"}


class Profiles(unittest.TestCase):
    def test_every_model_is_there(self):
        self.assertEqual(set(models()), set(WIRELESS_OF))

    def test_new_router(self):
        for model in models():
            with self.subTest(model), Router(model) as router:
                self.check_new_router(model, router)

    def check_new_router(self, model, router):
        configuration = router.uci()
        sections = [path for path in configuration if path.count(".") == 1]
        packages = PACKAGES | ({"repacd"} if WIRELESS_OF[model] is ARDEA else set())
        self.assertEqual({section.partition(".")[0] for section in sections}, packages)
        wireless = [section for section in sections if section.startswith("wireless.")]
        self.assertEqual(wireless, ["wireless." + name for name in WIRELESS_OF[model]])
        for row in COMMON + TABLES[FAMILY_OF[model].table]:
            self.assertIn(row.path.rpartition(".")[0], sections, row.key)
        self.check_password(router, configuration)
        self.assertEqual(router.read("/etc/device/model_name"), model + "\n")
        self.assertEqual(router.get("/cloud/aerolink/get").response["serverzone"], "Europe")

    def check_password(self, router, configuration):
        salt = router.read("/etc/device/service_code")[:8]
        hashed = md5_crypt("admin", f"$1${salt}$")
        self.assertTrue(router.read("/etc/shadow").startswith(f"root:{hashed}:"))
        self.assertEqual(configuration["zuconfig.general.password"],
                         hashlib.sha256(hashed.split("$")[3].encode()).hexdigest())


class TimeZones(unittest.TestCase):
    TABLE = "/usr/share/zoneinfo/tzdata.lua"
    RULES = {
        "UTC": "UTC0",
        "Europe/Berlin": "CET-1CEST,M3.5.0,M10.5.0/3",
        "America/New_York": "EST5EDT,M3.2.0,M11.1.0",
        "America/Argentina/Buenos_Aires": "<-03>3",
        "America/Indiana/Indianapolis": "EST5EDT,M3.2.0,M11.1.0",
        "Asia/Kolkata": "IST-5:30",
        "Asia/Tokyo": "JST-9",
        "Australia/Lord_Howe": "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
        "Pacific/Chatham": "<+1245>-12:45<+1345>,M9.5.0/2:45,M4.1.0/3:45",
    }

    def test_rules_as_the_plug_in_reads_them(self):
        with Router("heron") as router:
            for zone, rule in self.RULES.items():
                command = f"""grep "{zone}" {self.TABLE} |awk -F"'" '{{print $4}}' | head -n 1"""
                self.assertEqual(router.shell(command), rule + "\n", zone)

    def test_every_zone_is_found_first_under_its_own_name(self):
        lines = Path(f"{IMAGE}{self.TABLE}").read_text(encoding="ascii").splitlines()
        listed = Path("/usr/share/zoneinfo/zone.tab").read_text(encoding="utf-8").splitlines()
        zones = [line.split("\t")[2] for line in listed if not line.startswith("#")]
        self.assertGreater(len(zones), 400)
        for zone in zones:
            first = next(line for line in lines if zone in line)
            self.assertEqual(first.split("'")[1], zone)
            self.assertRegex(first.split("'")[3], r"^(<[-+\w]+>|[A-Za-z]+)[-+]?\d", zone)


if __name__ == "__main__":
    unittest.main()
