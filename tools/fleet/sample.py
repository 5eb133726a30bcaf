# SPDX-License-Identifier: Apache-2.0
"""A made-up fleet: snapshots of routers of all models as they are found in the field, a few of them broken.

What owners do to a router is a table of habits, each with its share of the fleet.
"""
import json
from random import Random

import factory

HOME_NAMES = ("Harbour Cafe", "Joe's Bar", "Station 12", "linnea", "Pension Möwe", "Lobby", "flat-4b", "Зал ожидания",
              "Back Office", "The \"Anchor\"", "a", "thirty-two characters, not one more")
ZONES = (("Europe/Berlin", "CET-1CEST,M3.5.0,M10.5.0/3"), ("America/New York", "EST5EDT,M3.2.0,M11.1.0"),
         ("Asia/Shanghai", "CST-8"), ("Australia/Sydney", "AEST-10AEDT,M10.1.0,M4.1.0/3"), ("UTC", "UTC0"))
SERVER_ZONES = ("europe", "america", "asia-pacific")
CHANNELS = {"2": ("1", "6", "11", "auto"), "5": ("36", "40", "44", "149", "auto")}
NARROWER = {"HT20": ("HT40",), "HT80": ("HT20", "HT40"), "VHT80": ("VHT20", "VHT40")}
HEXADECIMAL = "0123456789abcdef"


class Device:
    """A router with its factory configuration, which habits change."""

    def __init__(self, number, model, service_code, configuration):
        self.facts = {"id": f"ap-{number:06}", "model": model, "service_code": service_code}
        self.configuration = configuration

    def options(self, package, name):
        """Of the section of this name or, when it is anonymous, type."""
        return next((section.options for section in self.configuration.get(package, [])
                     if name in (section.name, section.type)), {})

    def wireless(self, kind):
        return [section for section in self.configuration["wireless"] if section.type == kind]

    def radios(self):
        return [(section.name, section.options) for section in self.wireless("wifi-device")]

    def home_networks(self):
        return [section.options for section in self.wireless("wifi-iface") if section.options["network"] == "lan"]

    def guest_networks(self):
        return [section.options for section in self.wireless("wifi-iface") if section.options["network"] == "guest"]


def band(radio):
    """"2" or "5" GHz."""
    return "5" if radio["hwmode"] in ("11a", "11ac", "11axa") else "2"


# Habits.

def name_networks(rng, device):
    name = rng.choice(HOME_NAMES)[:32]
    for network in device.home_networks():
        network["ssid"] = name


def set_pass_phrase(rng, device):
    phrase = f"{rng.choice(HOME_NAMES)} {rng.getrandbits(32)}"
    for network in device.home_networks():
        network["key"] = phrase


def choose_channels(rng, device):
    for _, radio in device.radios():
        radio["channel"] = rng.choice(CHANNELS[band(radio)])


def choose_width(rng, device):
    for _, radio in device.radios():
        radio["htmode"] = rng.choice(NARROWER[radio["htmode"]])


def lower_power(rng, device):
    for _, radio in device.radios():
        radio["txpower"] = str(int(radio["txpower_max"]) - rng.choice((3, 6, 9)))


def lose_power(rng, device):
    _, radio = rng.choice(device.radios())
    radio["txpower"] = None


def forget_power_limit(rng, device):
    _, radio = rng.choice(device.radios())
    radio["txpower_max"] = None


def hide_networks(_, device):
    for network in device.home_networks():
        network["hidden"] = "1"


def switch_one_network_off(rng, device):
    rng.choice(device.home_networks())["disabled"] = "1"


def switch_all_networks_off(_, device):
    for network in device.home_networks():
        network["disabled"] = "1"


def open_guest_networks(rng, device):
    for network in device.guest_networks():
        network |= {"disabled": "0", "encryption": "psk2", "key": f"guest-{rng.getrandbits(32)}"}


def move_lan(rng, device):
    address = rng.choice((f"192.168.{rng.randint(1, 61)}.1", f"10.{rng.randint(0, 255)}.{rng.randint(0, 255)}.1"))
    device.options("network", "lan")["ipaddr"] = address
    device.options("dhcp", "localhost")["ip"] = address


def fix_wan(rng, device):
    device.options("network", "wan").update(
        proto="static", ipaddr=f"100.64.{rng.randint(0, 255)}.{rng.randint(2, 254)}", netmask="255.255.0.0",
        gateway="100.64.0.1", dns="9.9.9.9")


def dial_wan(rng, device):
    device.options("network", "wan").update(
        proto="pppoe", username=f"customer{rng.getrandbits(24)}@isp.example", password=f"{rng.getrandbits(40):x}")


def move_to_zone(rng, device):
    zone, rule = rng.choice(ZONES)
    device.options("system", "system").update(zonename=zone, timezone=rule)


def name_router(rng, device):
    device.options("system", "system")["hostname"] = f"site-{rng.randint(1, 4000)}"


def change_password(rng, device):
    device.options("zuconfig", "general")["password"] = "".join(rng.choices(HEXADECIMAL, k=64))


def move_to_server(rng, device):
    device.options("zuconfig", "cloud")["serverzone"] = f"{rng.choice(SERVER_ZONES)}.lb.aerolink.example"


def update_later(rng, device):
    device.options("zuconfig", "autoupdate").update(time=f"{rng.randint(0, 5):02}:30", enable=rng.choice("01"))


def repeat(_, device):
    device.facts["repeater"] = True


def go_offline(_, device):
    device.facts["internet"] = False


def await_reboot(_, device):
    device.facts |= {"reboot_pending": True, "files": {"/tmp/reboot_flag": "1\n"}}


def be_read(_, device):
    device.facts["full_read_done"] = True


def get_companion(rng, device):
    device.facts["companion"] = rng.choice(("installed", "starting"))


HABITS = (
    # share    habit
    (0.600,    name_networks),
    (0.700,    set_pass_phrase),
    (0.300,    choose_channels),
    (0.150,    choose_width),
    (0.200,    lower_power),
    (0.010,    lose_power),
    (0.010,    forget_power_limit),
    (0.030,    hide_networks),
    (0.020,    switch_one_network_off),
    (0.002,    switch_all_networks_off),
    (0.200,    open_guest_networks),
    (0.250,    move_lan),
    (0.080,    fix_wan),
    (0.150,    dial_wan),
    (0.700,    move_to_zone),
    (0.100,    name_router),
    (0.800,    change_password),
    (0.400,    move_to_server),
    (0.100,    update_later),
    (0.060,    repeat),
    (0.030,    go_offline),
    (0.010,    await_reboot),
    (0.500,    be_read),
    (0.020,    get_companion),
)


# Breakages: of the configuration, of the snapshot, of its line.

def lose_wireless(_, device):
    del device.configuration["wireless"]


def lose_lan(_, device):
    device.configuration["network"] = [section for section in device.configuration["network"] if section.name != "lan"]


def lose_everything(_, device):
    device.configuration.clear()


def grow_a_value(rng, device):
    device.options("system", "system")["hostname"] = "x" * rng.choice((600, 5000))


def tear_configuration(rng, snapshot):
    text = snapshot["uci"]
    snapshot["uci"] = text[:text.index("'", rng.randrange(len(text) // 2)) + 1]


def garble_configuration(_, snapshot):
    snapshot["uci"] = snapshot["uci"].replace("config interface 'lan'", "konfig interface 'lan'", 1)


def have_no_model(_, snapshot):
    del snapshot["model"]


def have_a_number_for_a_configuration(rng, snapshot):
    snapshot["uci"] = rng.randint(0, 9)


def tear_line(rng, line):
    return line[:rng.randrange(1, len(line) - 1)]


def be_another_line(rng, _):
    return rng.choice((b"null", b"[]", b"17", b'"ap"', b"# the end", b"\xff\xfe\x00"))


BROKEN_DEVICES = (lose_wireless, lose_lan, lose_everything, grow_a_value)
BROKEN_SNAPSHOTS = (tear_configuration, garble_configuration, have_no_model, have_a_number_for_a_configuration)
BROKEN_LINES = (tear_line, be_another_line)
SHARE_OF_BROKEN = 0.002  # each of the three kinds


def lines(count, seed):
    """So many lines, each a snapshot. The first ones of a longer fleet of the same seed are those of a shorter."""
    rng = Random(seed)
    models = [(model, snapshot["service_code"], factory.parse(snapshot["uci"]))
              for model, snapshot in factory.snapshots().items()]
    shares = [1 / (place + 3) for place in range(len(models))]
    for number in range(1, count + 1):
        yield line_of(rng, number, *rng.choices(models, shares)[0])


def line_of(rng, number, model, service_code, configuration):
    device = Device(number, model, f"{service_code[:4]}{rng.randint(0, 9999):04}{service_code[8:]}",
                    factory.copy(configuration))
    for share, habit in HABITS:
        if rng.random() < share:
            habit(rng, device)
    breaking(rng, BROKEN_DEVICES, device)
    snapshot = device.facts | {"uci": factory.export(device.configuration)}
    breaking(rng, BROKEN_SNAPSHOTS, snapshot)
    line = json.dumps(snapshot, ensure_ascii=False).encode()
    return breaking(rng, BROKEN_LINES, line) or line


def breaking(rng, ways, thing):
    return rng.choice(ways)(rng, thing) if rng.random() < SHARE_OF_BROKEN else None
