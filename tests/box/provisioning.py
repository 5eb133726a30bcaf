# SPDX-License-Identifier: Apache-2.0
"""What a provisioning tool sends, and what it leaves in a router of each model."""
from typing import NamedTuple

LOGO_PATH = "/www/src/static/images/custmer.png"
LOGO_URL = "https://harbour.example/logo.png?v=2"

# The first request: everything that there is, to every model. What a model has no use for does nothing there.
FIRST_REQUEST = {
    "fw_type": "1", "customer_name": "Harbour \"Cafe\" & Söhne",
    "help_url": "https://harbour.example/help?lang=de&p=1", "image_url": LOGO_URL, "xwf_enable": "0",
    "xwf_ssid": "not forwarded",
    "wan_proto": "static", "wan_username": "user@isp", "wan_password": "isp secret",
    "wan_ipaddr": "203.0.113.9", "wan_gateway": "203.0.113.1", "wan_netmask": "255.255.255.0",
    "wan_dns": "203.0.113.53", "lan_ip": "192.168.70.1", "guest_lan_ip": "192.168.71.1",
    "autoupdate_firmware_path": "http://harbour.example/image.bin", "autoupdate_time": "04:30",
    "password": "n3w $ecret", "system_timezone": "America/Argentina/Buenos_Aires", "auto_timezone": "0",
    "hostname": "harbour-cafe", "server_name": "cloud.harbour.example",
    "server_url": "https://harbour.example/telemetry", "language": "zh_cn", "txpower_max": "15",
    "probe_data_path1": "https://harbour.example/1", "probe_data_path2": "ftp://harbour.example/2",
    "probe_max_lines": "500",
    "2g_ssid": "Harbour Cafe", "2g_disable": "1", "2g_hidden": "1", "2g_channel": "11",
    "2g_txpower": "medium", "2g_htmode": "HT40", "2g_encrytion": "psk-mixed", "2g_key": "2g pass phrase",
    "guest_2g_ssid": "Harbour guests", "guest_2g_encrytion": "psk2", "guest_2g_key": "2g guests only",
    "guest_2g_disable": "0",
    "5g_ssid": "Harbour Cafe 5G", "5g_disable": "1", "5g_hidden": "1", "5g_channel": "149",
    "5g_txpower": "high", "5g_htmode": "VHT80", "5g_encrytion": "psk-mixed", "5g_key": "5g pass phrase",
    "guest_5g_ssid": "Harbour guests 5G", "guest_5g_encrytion": "psk2", "guest_5g_key": "5g guests only",
    "guest_5g_disable": "0",
}  # and "autoupdate_enable"
TIME_ZONE_RULE = "<-03>3"

FIRST_CUSTOMER_FILE = f"""fw_type=2
customer_name=Harbour "Cafe" & Söhne
help_url=https://harbour.example/help?lang=de&p=1
image_url={LOGO_URL}
xwf_enable=0
"""
# As it is read back: a value ends at its first "=".
FIRST_BRANDING = {
    "customer_name": "Harbour \"Cafe\" & Söhne", "help_url": "https://harbour.example/help?lang",
    "image_url": "https://harbour.example/logo.png?v", "xwf_enable": "0",
}

# The second request: with the companion, less branding, values that checks refuse, and a restart.
SECOND_REQUEST = {
    "customer_name": "Harbour", "xwf_enable": "1", "xwf_ssid": "Harbour welcome", "xwf_mode": "portal",
    "xwf_url": "https://harbour.example/welcome", "lan_ip": "300.1.1", "2g_key": "7 chars",
    "guest_2g_encrytion": "none", "reboot_flag": "1",
}  # and "autoupdate_enable"
SECOND_CUSTOMER_FILE = "fw_type=2\ncustomer_name=Harbour\nxwf_enable=1\n"
SECOND_BRANDING = {"customer_name": "Harbour", "help_url": "", "image_url": "", "xwf_enable": "1"}
COMPANION = {"xwf_ssid": "Harbour welcome", "xwf_mode": "portal",
             "xwf_url": "https://harbour.example/welcome"}


def section(name, **options):
    return {f"wireless.{name}.{option}": value for option, value in options.items()}


# --- What the requests leave in UCI, by option ----------------------------------------------------


class Family(NamedTuple):
    first: dict           # the first leaves these, the password's digest and "autoupdate_enable", no more
    second: dict          # the second leaves these, and clears the guests' passphrase
    answer: dict = {}     # to the second
    driver: bool = False  # whether the encryption goes into the running driver as well


GENERAL = {
    "network.wan.proto": "static", "network.wan.username": "user@isp", "network.wan.password": "isp secret",
    "network.wan.ipaddr": "203.0.113.9", "network.wan.gateway": "203.0.113.1",
    "network.wan.netmask": "255.255.255.0", "network.wan.dns": "203.0.113.53",
    "network.lan.ipaddr": "192.168.70.1", "dhcp.localhost.ip": "192.168.70.1",
    "zuconfig.autoupdate.firmware_path": "http://harbour.example/image.bin",
    "zuconfig.autoupdate.time": "04:30",
    "system.@system[0].zonename": "America/Argentina/Buenos_Aires",
    "system.@system[0].timezone": TIME_ZONE_RULE, "system.@system[0].hostname": "harbour-cafe",
    "zuconfig.cloud.serverzone": "cloud.harbour.example", "zuconfig.cloud.enable": "1",
    "zuconfig.cloud.check_status": "1", "zubigdata.bigdata.server_url": "https://harbour.example/telemetry",
    "zuconfig.general.language": "ZH_CN", "luci.main.lang": "zh_cn",
}
GUEST_LAN = {"network.guest.ipaddr": "192.168.71.1"}
PROBE_PATHS = {"zuconfig.wifi_probe.data_path1": "https://harbour.example/1",
               "zuconfig.wifi_probe.data_path2": "ftp://harbour.example/2"}

NETWORK_2G = {"ssid": "Harbour Cafe", "encryption": "psk-mixed", "key": "2g pass phrase", "disabled": "1",
              "hidden": "1"}
NETWORK_5G = {"ssid": "Harbour Cafe 5G", "encryption": "psk-mixed", "key": "5g pass phrase", "disabled": "1",
              "hidden": "1"}
GUESTS_2G = section("guest2g", ssid="Harbour guests", encryption="psk2", key="2g guests only", disabled="0")
GUESTS_5G = section("guest5g", ssid="Harbour guests 5G", encryption="psk2", key="5g guests only",
                    disabled="0")

OPEN_GUESTS = section("guest2g", encryption="none")
LAN = {"network.lan.ipaddr": "300.1.1", "dhcp.localhost.ip": "300.1.1"}

ONE_RADIO = Family(
    first=GENERAL | GUEST_LAN | GUESTS_2G | section("default_radio0", **NETWORK_2G) |
    section("radio0", channel="11", htmode="HT40", hwmode="11g", noscan="1"),
    second=OPEN_GUESTS | LAN | section("default_radio0", key="7 chars"))
TWO_RADIOS = Family(
    first=GENERAL | GUEST_LAN | GUESTS_2G | GUESTS_5G |
    section("default_radio1", **NETWORK_2G) | section("default_radio0", **NETWORK_5G) |
    section("radio1", channel="11", htmode="HT40", hwmode="11g", noscan="1") |
    section("radio0", channel="149", htmode="VHT80", hwmode="11a", noscan="1"),
    second=OPEN_GUESTS | LAN | section("default_radio1", key="7 chars"))
OSPREY = TWO_RADIOS._replace(first=TWO_RADIOS.first | section("radio0", noscan="0"))
# Two radios too, but none of the sections in which they are looked for.
OTHER_RADIOS = Family(first=GENERAL | GUEST_LAN | GUESTS_2G | GUESTS_5G, second=OPEN_GUESTS | LAN)
MT76X8 = Family(
    first=GENERAL | GUEST_LAN | PROBE_PATHS | GUESTS_2G | section("@wifi-iface[0]", **NETWORK_2G) |
    section("mt7628", channel="11", htmode="HT40", hwmode="11g", noscan="1"),
    second=OPEN_GUESTS | section("@wifi-iface[0]", key="7 chars"),
    driver=True)
ARDEA = Family(
    first=GENERAL | PROBE_PATHS | GUESTS_2G | GUESTS_5G |
    section("@wifi-iface[0]", **NETWORK_2G) | section("@wifi-iface[1]", **NETWORK_5G) |
    section("wifi0", channel="11", htmode="HT40", hwmode="11ng") |
    section("wifi1", channel="149", htmode="VHT80", hwmode="11ac"),
    second=OPEN_GUESTS | LAN | section("@wifi-iface[0]", key="7 chars"),
    answer={"2g_key": "set false"})
# Sent "VHT40".
ARDEA_40_MHZ = ARDEA._replace(first=ARDEA.first | section("wifi1", htmode="HT40"))

# --- What goes into the MT76x8 driver -------------------------------------------------------------

FIRST_DRIVER = [
    "iwpriv ra0 set 'SSID=Harbour Cafe'", "iwpriv ra0 set AuthMode=WPAPSKWPA2PSK",
    "iwpriv ra0 set EncrypType=AES", "iwpriv ra0 set WPAPSK=psk-mixed", "iwpriv ra0 set 'SSID=Harbour Cafe'",
    "iwpriv ra1 set 'SSID=Harbour guests'", "iwpriv ra1 set AuthMode=WPA2PSK",
    "iwpriv ra1 set EncrypType=AES", "iwpriv ra1 set WPAPSK=psk2", "iwpriv ra1 set 'SSID=Harbour guests'",
]
FIRST_DRIVER_STATE = {
    "ra0": {"SSID": "Harbour Cafe", "AuthMode": "WPAPSKWPA2PSK", "EncrypType": "AES", "WPAPSK": "psk-mixed"},
    "ra1": {"SSID": "Harbour guests", "AuthMode": "WPA2PSK", "EncrypType": "AES", "WPAPSK": "psk2"},
}
SECOND_DRIVER = ["iwpriv ra1 set AuthMode=OPEN", "iwpriv ra1 set EncrypType=NONE",
                 "iwpriv ra1 set 'SSID=Harbour guests'"]

# --- How the network restarts: command lines that run side by side --------------------------------


class Restart(NamedTuple):
    delay: int   # seconds before the first call
    calls: list


NETWORK_AND_TERTF = ["/etc/init.d/network restart", "/etc/init.d/zu_tertf restart"]
PHYS = [Restart(2, [f"ssdk_sh debug phy set {port} 0 0x840" for port in (2, 3, 4)]),
        Restart(4, [f"ssdk_sh debug phy set {port} 0 0x1240" for port in (2, 3, 4)])]

PLAIN = [Restart(1, NETWORK_AND_TERTF)]
SWITCH = [Restart(2, ["swconfig dev switch0 set reset", "swconfig dev switch0 set apply",
                      "/etc/init.d/network restart"])]
WITH_PHYS = [Restart(1, NETWORK_AND_TERTF), *PHYS]
WITH_REPEATERS = [Restart(0, ["heron_misc_func.sh cap_ip_change_trigger"]),
                  Restart(2, NETWORK_AND_TERTF), *PHYS]

# --- The models -----------------------------------------------------------------------------------


class Model(NamedTuple):
    family: Family
    txpower: dict        # half of the 2.4 GHz radio's maximum, three quarters of the 5 GHz one's
    restart: list
    table: str           # what "get_config" reads
    updater: str         # "autoupdate_enable" of the first request; the second has the other value
    htmode_5g: str = "VHT80"  # of the first request
    repeaters: str = ""  # "repacd.repacd.Enable" where it matters


def power(**of_radio):
    return {f"wireless.{radio}.txpower": value for radio, value in of_radio.items()}


MODELS = {
    "heron": Model(ARDEA, power(wifi0="13", wifi1="17"), WITH_PHYS, "batch_list_ardea", "1", repeaters="0"),
    "egret": Model(ARDEA_40_MHZ, power(wifi0="13", wifi1="18"), WITH_REPEATERS, "batch_list_ardea", "0",
                   htmode_5g="VHT40", repeaters="1"),
    "crane": Model(OTHER_RADIOS, {}, WITH_REPEATERS, "batch_list_ardea", "1", repeaters="1"),
    "falcon": Model(OTHER_RADIOS, {}, PLAIN, "batch_list1", "0"),
    "plover": Model(MT76X8, power(mt7628="10"), PLAIN, "batch_list_mt76x8", "1"),
    "plover-v2": Model(MT76X8, power(mt7628="10"), PLAIN, "batch_list_mt76x8", "0"),
    "linnet": Model(MT76X8, power(mt7628="9"), PLAIN, "batch_list_mt76x8", "1"),
    "wren": Model(OTHER_RADIOS, {}, PLAIN, "batch_list_mt7615", "0"),
    "finch": Model(ONE_RADIO, power(radio0="9"), PLAIN, "batch_list_finch", "1"),
    "osprey": Model(OSPREY, power(radio1="10", radio0="20"), PLAIN, "batch_list1", "0"),
    "generic-dual": Model(TWO_RADIOS, power(radio1="10", radio0="17"), PLAIN, "batch_list1", "1"),
    "generic-single": Model(ONE_RADIO, power(radio0="10"), PLAIN, "batch_list2", "0"),
    "lark": Model(TWO_RADIOS, power(radio1="10", radio0="16"), SWITCH, "batch_list1", "1"),
}
