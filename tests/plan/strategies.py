# SPDX-License-Identifier: Apache-2.0
"""Random devices and requests, as data that shrinks."""
from dataclasses import dataclass, field

from families import FAMILY_OF
from hypothesis import strategies as st
from vocabulary import TABLES

BATCH_SET = "/cloud/aerolink/batch_set"
BATCH_GET = "/cloud/aerolink/batch_get"
SET_CONFIG = "/whiteboard/set_config"
GET_CONFIG = "/whiteboard/get_config"


@dataclass
class State:
    """What sets a device apart from one fresh from the factory."""
    options: dict = field(default_factory=dict)  # by path: a value, or None for an option that is not there
    repeater: bool = False
    internet: bool = True
    companion: str = "absent"
    customer: str | None = None      # content of the customer file
    reboot_flag: str | None = None   # and of the flag's
    backup: bool = False             # of the traffic accounts
    reboot_pending: bool = False
    full_read_done: bool = False     # of a falcon, whose keys are swapped then
    uncommitted: dict = field(default_factory=dict)  # recorded changes, as options


@dataclass
class Request:
    route: str
    members: dict

    def is_read(self):
        return self.route in (BATCH_GET, GET_CONFIG, "/cloud/aerolink/get")


GOOD_BY_CHECK = {"ssid": ("Harbour Cafe", "Quay 7"), "key": ("tide-table-4017", "lighthouse-2291"),
                 "url": ("https://a.example/b", "ftp://b.example"), "ipv4": ("192.168.70.1", "10.9.8.7")}
GOOD_BY_END = {"htmode": ("HT20", "HT40", "VHT20", "VHT40", "VHT80"), "txpower": ("max", "high", "medium", "low"),
               "timezone": ("Europe/Berlin", "Asia/Tokyo", "UTC"), "encrytion": ("none", "psk2", "psk-mixed"),
               "channel": ("auto", "1", "36"), "password": ("new password", "s3cret;$x"), "language": ("CN", "EN"),
               "reboot_flag": ("0", "1"), "_ip": ("192.168.70.1",)}


def known_keys(model):
    """By key of a table: the options of the model's own tables that it stands for, and values that it takes."""
    own = {FAMILY_OF[model].table, "batch_list_common", "batch_list_wbf", "batch_list_wbf1"}
    keys = {}
    for table, rows in TABLES.items():
        for row in rows:
            paths, _ = keys.get(row.key, ([], ()))
            by_end = (good for end, good in GOOD_BY_END.items() if row.key.endswith(end))
            good = GOOD_BY_CHECK.get(row.check) or next(by_end, ("0", "1"))
            keys[row.key] = (paths + [row.path] * (table in own), good)
    return keys


# Text that JSON, UCI and the shell carry whole. What a shell would run is harmless; a NUL ends a text for all of them.
# json-c 0.16 reads the escaped form of some characters, those whose second surrogate is DC00, as U+FFFD.
PLAIN = st.text(st.characters(blacklist_categories=("Cs", "Cc")).filter(
    lambda character: ord(character) < 0x10000 or ord(character) & 0x3ff), max_size=40)
ODD = ["", "0", "1", "none", "on", " ", "x y", "it's", 'say "hi"', "a\\b", "5$", "$HOME", "$(echo x)", "`echo y`", "#", "-n",
       "a=b", "a;b", "*", "%s%n", "ünïcödé", "\u4e2d\u6587", "tab\there", "x" * 32, "x" * 33, "k" * 63, "k" * 64,
       "r" * 100, "r" * 101, "v" * 127, "v" * 128, "z" * 511, "z" * 512, "z" * 600, "HT20", "VHT80", "VHT40", "max",
       "low", "high", "10.0.0.1", "10.0.0.300", "a.b.c.d", "https://a.example/b", "UTC", "Berlin", "secret-5", "four",
       "CN", "zh_cn", "psk2", "psk-mixed"]
NOT_TEXT = st.one_of(st.none(), st.booleans(), st.integers(-10, 100), st.just(0.5), st.just([]), st.just(["a"]),
                     st.just({"a": 1}))


def values(examples):
    good = st.sampled_from([value for value in examples if value is not None] or ["1"])
    return st.one_of(good, good, good, st.sampled_from(ODD), PLAIN, NOT_TEXT)


@st.composite
def batches(draw, keys):
    """The members of a batch: mostly keys that the model knows."""
    slow = {"password"}  # it takes a second
    names = draw(st.lists(st.sampled_from(sorted(set(keys) - slow)), max_size=8, unique=True))
    if draw(st.integers(0, 7)) == 7:
        names += slow & set(keys)
    if draw(st.integers(0, 5)) == 5:
        names.append(draw(st.sampled_from(["hostnam", "2G_ssid", "name", "", "response", "$"])))
    members = {name: draw(values(keys.get(name, ([], ("1",)))[1])) for name in names}
    # A flag of "1" makes every later request start a reboot: seldom.
    if members.get("reboot_flag") in ("1", 1) and draw(st.integers(0, 3)) > 0:
        members["reboot_flag"] = "0"
    return members


@st.composite
def white_label(draw, keys, state):
    members = draw(batches(keys))
    members |= draw(st.fixed_dictionaries({}, optional={
        "customer_name": values(("Harbour", "Quay")), "help_url": values(("https://help.example",)),
        "image_url": values(("http://logo.example/a.png", "http://logo.example/a.png?b=1&c")),
        "xwf_enable": st.sampled_from(["0", "1", "1", 1, "yes"]), "xwf_ssid": PLAIN, "xwf_mode": st.just("bridge")}))
    if str(members.get("xwf_enable")) == "1" and state.companion == "absent":
        members["xwf_enable"] = "0"  # the handler would wait for 35 seconds
    return members


TEXT_OR_ODD = st.one_of(PLAIN, st.sampled_from(ODD))
ZONES = ["Europe", "America", "Asia Pacific", "China", "Test", "europe.lb.aerolink.example",
         "development.lb.aerolink.example", "test.lb.aerolink.example"]
OTHERS = {
    "/cloud/aerolink/set": st.fixed_dictionaries(
        {"cloud_enable": st.booleans(), "serverzone": st.sampled_from(ZONES), "rtty_ssh": st.sampled_from(["0", "1"]),
         "rtty_web": st.sampled_from(["0", "1"])}, optional={"check_status": st.booleans()}),
    "/cloud/aerolink/unbind": st.fixed_dictionaries({}, optional={"unbind": st.just(True)}),
    "/router/bind_info": st.fixed_dictionaries({}, optional={name: TEXT_OR_ODD for name in
                                                             ("username", "email", "bindtime")}),
    "/whiteboard/designated_customer": st.fixed_dictionaries({"server_name": st.sampled_from(ZONES)},
                                                             optional={"server_url": TEXT_OR_ODD}),
    "/cloud/aerolink/log_level": st.fixed_dictionaries({}, optional={"cloud_log_level": st.booleans()}),
    "/cloud/aerolink/get": st.just({}),
    GET_CONFIG: st.just({}),
    BATCH_GET: st.just({}),
}


@st.composite
def requests(draw, keys, state):
    kind = draw(st.integers(0, 9))
    if kind < 5:
        return Request(BATCH_SET, draw(batches(keys)))
    if kind < 8:
        return Request(SET_CONFIG, draw(white_label(keys, state)))
    if kind == 8:
        names = st.lists(st.one_of(st.sampled_from(sorted(keys)), PLAIN.filter(bool)), min_size=1, max_size=4)
        return Request(draw(st.sampled_from([BATCH_GET, GET_CONFIG])), {"name": draw(names)})
    route = draw(st.sampled_from(sorted(OTHERS)))
    return Request(route, draw(OTHERS[route]))


@st.composite
def states(draw, model, keys):
    paths = sorted({path for paths, _ in keys.values() for path in paths})
    held = st.one_of(st.none(), st.none(), st.sampled_from(["1", "0", "held", "none", "psk2", "https://a.example/b"]), PLAIN)
    options = st.dictionaries(st.sampled_from(paths), held, max_size=6)
    zone = st.sampled_from(ZONES[-3:] + ["asia-pacific.lb.aerolink.example", "own.example"])
    state = State(options=draw(options), repeater=draw(st.booleans()), internet=draw(st.booleans()),
                  companion=draw(st.sampled_from(["absent", "installed", "starting"])),
                  customer=draw(st.sampled_from([None, None, "", "fw_type=2\n", "fw_type=1\ncustomer_name=A=B\n",
                                                 "customer_name=two words\nxwf_enable=1"])),
                  reboot_flag=draw(st.sampled_from([None, None, "0\n", "1\n", "other\n", ""])),
                  backup=draw(st.booleans()), reboot_pending=draw(st.integers(0, 5)) == 5,
                  full_read_done=model == "falcon" and draw(st.booleans()),
                  uncommitted=draw(st.one_of(st.just({}), st.dictionaries(st.sampled_from(paths), held.filter(bool),
                                                                          max_size=2))))
    if draw(st.booleans()):
        state.options["zuconfig.cloud.serverzone"] = draw(zone)
    if draw(st.integers(0, 5)) == 5:
        state.options["repacd.repacd.Enable"] = "1"
    return state


@st.composite
def examples(draw, model, keys):
    """A state and requests that are sent one after the other."""
    state = draw(states(model, keys))
    return state, draw(st.lists(requests(keys, state), min_size=1, max_size=3))
