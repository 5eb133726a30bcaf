// SPDX-License-Identifier: Apache-2.0
// The meanings of keys: one row a key.
#include "tools/vocabulary/keys.h"

#include <algorithm>
#include <array>

namespace vocabulary {

namespace {

using enum group;
using enum kind;
using enum secrecy;

// The column titles stand once for all groups. A description is one sentence and says what the value means to
// the router; which options it changes, what is checked and when it is written is found out by rehearsing.
// clang-format off
constexpr key table[] = {
    // name, title, unit, group, kind, secrecy, example, another example
    //     description, words

    // --- 2.4 GHz
    {"2g_ssid", "Network name, 2.4 GHz", "", radio_2g, text, open, "Harbour Cafe", "Quay 7",
        "Name (SSID) of the 2.4 GHz network."},
    {"2g_encrytion", "Encryption, 2.4 GHz", "", radio_2g, text, open, "psk2", "psk-mixed",
        "Security mode of the 2.4 GHz network, such as psk2, psk-mixed or none; the key's spelling is part of the "
        "interface.",
        "psk2|psk-mixed|psk|none"},
    {"2g_key", "Pass phrase, 2.4 GHz", "", radio_2g, text, secret, "tide-table-4017", "lighthouse-2291",
        "Pass phrase of the 2.4 GHz network."},
    {"2g_disable", "Off, 2.4 GHz", "", radio_2g, text, open, "1", "0",
        "1 switches the 2.4 GHz network off, 0 on.",
        "1|0"},
    {"2g_hidden", "Hidden, 2.4 GHz", "", radio_2g, text, open, "1", "0",
        "1 keeps the name of the 2.4 GHz network out of its beacons, 0 shows it.",
        "1|0"},
    {"2g_channel", "Channel, 2.4 GHz", "", radio_2g, text, open, "11", "1",
        "Channel of the 2.4 GHz radio, or auto."},
    {"2g_htmode", "Bandwidth, 2.4 GHz", "", radio_2g, text, open, "HT40", "HT20",
        "Bandwidth of the 2.4 GHz radio, such as HT20 or HT40.",
        "HT20|HT40"},
    {"2g_txpower", "Transmit power, 2.4 GHz", "", radio_2g, text, open, "medium", "low",
        "Level of the 2.4 GHz radio's transmit power, as a share of its maximum: max, high, medium or low.",
        "max|high|medium|low"},
    {"txpower_max", "Maximum transmit power", "dBm", radio_2g, text, open, "17", "14",
        "Upper limit of the transmit power; one key for all radios of the device."},

    // --- 5 GHz
    {"5g_ssid", "Network name, 5 GHz", "", radio_5g, text, open, "Harbour Cafe 5", "Quay 7 fast",
        "Name (SSID) of the 5 GHz network."},
    {"5g_encrytion", "Encryption, 5 GHz", "", radio_5g, text, open, "psk2", "psk-mixed",
        "Security mode of the 5 GHz network, such as psk2, psk-mixed or none; the key's spelling is part of the "
        "interface.",
        "psk2|psk-mixed|psk|none"},
    {"5g_key", "Pass phrase, 5 GHz", "", radio_5g, text, secret, "tide-table-5017", "lighthouse-5291",
        "Pass phrase of the 5 GHz network."},
    {"5g_disable", "Off, 5 GHz", "", radio_5g, text, open, "1", "0",
        "1 switches the 5 GHz network off, 0 on.",
        "1|0"},
    {"5g_hidden", "Hidden, 5 GHz", "", radio_5g, text, open, "1", "0",
        "1 keeps the name of the 5 GHz network out of its beacons, 0 shows it.",
        "1|0"},
    {"5g_channel", "Channel, 5 GHz", "", radio_5g, text, open, "149", "44",
        "Channel of the 5 GHz radio, or auto."},
    {"5g_htmode", "Bandwidth, 5 GHz", "", radio_5g, text, open, "VHT40", "VHT80",
        "Bandwidth of the 5 GHz radio, such as VHT20, VHT40 or VHT80.",
        "VHT20|VHT40|VHT80"},
    {"5g_txpower", "Transmit power, 5 GHz", "", radio_5g, text, open, "medium", "low",
        "Level of the 5 GHz radio's transmit power, as a share of its maximum: max, high, medium or low.",
        "max|high|medium|low"},

    // --- Guests
    {"guest_2g_ssid", "Guest network name, 2.4 GHz", "", guests, text, open, "Harbour guests", "Quay guests",
        "Name (SSID) of the 2.4 GHz guest network."},
    {"guest_2g_encrytion", "Guest encryption, 2.4 GHz", "", guests, text, open, "psk2", "psk-mixed",
        "Security mode of the 2.4 GHz guest network, such as psk2, psk-mixed or none; the key's spelling is part of "
        "the interface.",
        "psk2|psk-mixed|psk|none"},
    {"guest_2g_key", "Guest pass phrase, 2.4 GHz", "", guests, text, secret, "welcome-aboard", "ahoy-and-welcome",
        "Pass phrase of the 2.4 GHz guest network."},
    {"guest_2g_disable", "Guests off, 2.4 GHz", "", guests, text, open, "0", "1",
        "1 switches the 2.4 GHz guest network off, 0 on.",
        "1|0"},
    {"guest_5g_ssid", "Guest network name, 5 GHz", "", guests, text, open, "Harbour guests 5", "Quay guests fast",
        "Name (SSID) of the 5 GHz guest network."},
    {"guest_5g_encrytion", "Guest encryption, 5 GHz", "", guests, text, open, "psk2", "psk-mixed",
        "Security mode of the 5 GHz guest network, such as psk2, psk-mixed or none; the key's spelling is part of the "
        "interface.",
        "psk2|psk-mixed|psk|none"},
    {"guest_5g_key", "Guest pass phrase, 5 GHz", "", guests, text, secret, "welcome-aboard-5", "ahoy-and-welcome-5",
        "Pass phrase of the 5 GHz guest network."},
    {"guest_5g_disable", "Guests off, 5 GHz", "", guests, text, open, "0", "1",
        "1 switches the 5 GHz guest network off, 0 on.",
        "1|0"},

    // --- WAN
    {"wan_proto", "WAN protocol", "", wan, text, open, "pppoe", "static",
        "How the router gets its address from the provider: dhcp, pppoe or static.",
        "dhcp|pppoe|static"},
    {"wan_username", "WAN user", "", wan, text, open, "harbour@isp.example", "quay@isp.example",
        "User name at the provider, for pppoe."},
    {"wan_password", "WAN password", "", wan, text, secret, "anchor-4017", "mooring-2291",
        "Password at the provider, for pppoe."},
    {"wan_ipaddr", "WAN address", "", wan, text, open, "192.0.2.10", "192.0.2.11",
        "Address of the router at the provider, for static."},
    {"wan_gateway", "WAN gateway", "", wan, text, open, "192.0.2.1", "192.0.2.2",
        "Address of the provider's gateway, for static."},
    {"wan_netmask", "WAN netmask", "", wan, text, open, "255.255.255.0", "255.255.255.128",
        "Network mask that goes with the WAN address, for static."},
    {"wan_dns", "WAN name servers", "", wan, text, open, "192.0.2.53", "192.0.2.54",
        "Address of the name server to ask."},

    // --- LAN
    {"lan_ip", "LAN address", "", lan, text, open, "192.168.70.1", "192.168.71.1",
        "Address of the router in the local network; also the address of the router's own name."},
    {"guest_lan_ip", "Guest LAN address", "", lan, text, open, "192.168.80.1", "192.168.81.1",
        "Address of the router in the guest network."},

    // --- System
    {"hostname", "Host name", "", system, text, open, "harbour-ap", "quay-ap",
        "Name of the router in its network."},
    {"system_timezone", "Time zone", "", system, text, open, "Europe/Berlin", "Asia/Tokyo",
        "Name of the router's time zone; its rule of daylight saving comes from the router's own table."},
    {"auto_timezone", "Automatic time zone", "", system, text, open, "0", "1",
        "1 lets the router find its time zone by itself, 0 keeps the chosen one.",
        "1|0"},
    {"password", "Administrator password", "", system, text, secret, "harbour-master-4017", "quay-master-2291",
        "Password of the router's administrator, in the user interface and of the account root."},
    {"language", "Language", "", system, text, open, "de", "fr",
        "Code of the user interface's language.",
        "en|de|fr|cn"},
    {"autoupdate_enable", "Automatic update", "", system, text, open, "0", "1",
        "1 lets the router update its firmware by itself, 0 forbids it.",
        "1|0"},
    {"autoupdate_time", "Time of the update", "", system, text, open, "04:30", "02:15",
        "Time of day at which the router looks for new firmware, as hours:minutes."},
    {"autoupdate_firmware_path", "Source of firmware", "", system, text, open,
        "https://firmware.harbour.example/stable", "https://firmware.quay.example/stable",
        "URL under which the router looks for new firmware."},
    {"reboot_flag", "Reboot", "", system, text, open, "1", "0",
        "1 reboots the router behind the request, any other value takes an earlier wish back.",
        "1|0"},

    // --- Wi-Fi probe
    {"probe_data_path1", "First probe receiver", "", probe, text, open, "http://probe.harbour.example/first",
        "http://probe.quay.example/first", "URL to which the Wi-Fi probe uploads."},
    {"probe_data_path2", "Second probe receiver", "", probe, text, open, "http://probe.harbour.example/second",
        "http://probe.quay.example/second", "Second URL to which the Wi-Fi probe uploads."},
    {"probe_max_lines", "Lines of an upload", "lines", probe, text, open, "500", "100",
        "Largest number of lines in one upload of the Wi-Fi probe."},
    {"probe_interval", "Probe interval", "", probe, text, open, "120", "30",
        "Interval of the Wi-Fi probe, in the probe's own unit."},
    {"probe_json", "Uploads in JSON", "", probe, text, open, "0", "1",
        "1 makes the Wi-Fi probe upload JSON, 0 not.",
        "1|0"},
    {"probe_virmac", "Probe setting virmac", "", probe, text, open, "1", "0",
        "Setting 'virmac' of the Wi-Fi probe, which alone knows its values."},
    {"probe_type", "Probe setting type", "", probe, text, open, "tcp", "http",
        "Setting 'type' of the Wi-Fi probe, which alone knows its values."},
    {"probe_tcpurl", "Probe's TCP receiver", "", probe, text, open, "probe.harbour.example:4040", "probe.quay.example:4040",
        "Host and port to which the Wi-Fi probe uploads over TCP."},
    {"probe_filter", "Probe setting filter", "", probe, text, open, "1", "0",
        "Setting 'filter' of the Wi-Fi probe, which alone knows its values."},
    {"probe_sflag", "Probe setting sflag", "", probe, text, open, "1", "0",
        "Setting 'sflag' of the Wi-Fi probe, which alone knows its values."},
    {"probe_protocol", "Probe setting protocol", "", probe, text, open, "2", "1",
        "Setting 'protocol' of the Wi-Fi probe, which alone knows its values."},
    {"probe_channel", "Probed channels, 2.4 GHz", "", probe, text, open, "1,11", "6",
        "Channels that the Wi-Fi probe listens to in the 2.4 GHz band, separated by commas."},
    {"probe_channel5g", "Probed channels, 5 GHz", "", probe, text, open, "44,157", "36",
        "Channels that the Wi-Fi probe listens to in the 5 GHz band, separated by commas."},
    {"probe_induce", "Probe setting induce", "", probe, text, open, "1", "0",
        "Setting 'induce' of the Wi-Fi probe, which alone knows its values."},

    // --- Branding
    {"customer_name", "Customer", "", branding, text, open, "Harbour", "Quay",
        "Name of the customer whose brand the device carries."},
    {"help_url", "Help page", "", branding, text, open, "https://harbour.example/help", "https://quay.example/help",
        "URL of the help that the user interface links to."},
    {"image_url", "Logo", "", branding, text, open, "https://harbour.example/logo.png", "https://quay.example/logo.png",
        "URL of the logo that the user interface shows."},
    {"xwf_enable", "Companion", "", branding, text, open, "1", "0",
        "1 starts the companion feature and hands the request on to it.",
        "1|0"},

    // --- Cloud
    {"server_name", "Customer's cloud", "", cloud, text, open, "cloud.harbour.example", "cloud.quay.example",
        "Host name of the cloud that the router connects to."},
    {"server_url", "Customer's telemetry", "", cloud, text, open, "https://harbour.example/report",
        "https://quay.example/report", "URL to which the router reports its telemetry."},
    {"cloud_enable", "Cloud link", "", cloud, boolean, open, "true", "false",
        "Whether the router keeps a link to the cloud."},
    {"serverzone", "Server zone", "", cloud, text, open, "America", "Europe",
        "Zone of the cloud's servers by its name, or the host name of the test or the development zone.",
        "Europe|America|Asia Pacific|China"},
    {"rtty_ssh", "Remote terminal", "", cloud, text, open, "1", "0",
        "1 allows the cloud a terminal on the router, 0 forbids it.",
        "1|0"},
    {"rtty_web", "Remote web access", "", cloud, text, open, "0", "1",
        "1 allows the cloud to reach the router's user interface, 0 forbids it.",
        "1|0"},
    {"check_status", "Status check", "", cloud, boolean, open, "true", "false",
        "Whether the cloud checks the router's state."},
    {"unbind", "Unbind", "", cloud, any, open, "true", "1",
        "Asks the cloud to unbind the router; the value is not looked at."},
    {"username", "Account", "", cloud, text, open, "jane", "john",
        "User name of the cloud account that the router was bound to."},
    {"email", "Account's address", "", cloud, text, open, "jane@mail.example", "john@mail.example",
        "Mail address of the cloud account that the router was bound to."},
    {"bindtime", "Time of binding", "", cloud, text, open, "2026-05-01 12:00:00", "2026-06-01 08:30:00",
        "When the router was bound to its cloud account."},
    {"cloud_log_level", "Debug messages", "", cloud, boolean, open, "true", "false",
        "Whether the cloud client logs debug messages too, until it restarts."},

    // --- Reading
    {"name", "Keys to read", "", reading, kind::keys, open, R"(["2g_ssid","lan_ip"])", R"(["2g_channel"])",
        "The settings to report; without it all are reported."},
};
// clang-format on

// In the order of the enumerators.
constexpr std::array group_texts = {"2.4 GHz", "5 GHz",       "Guests",   "WAN",   "LAN",
                                    "System",  "Wi-Fi probe", "Branding", "Cloud", "Reading"};
static_assert(group_texts.size() == static_cast<size_t>(reading) + 1);
constexpr std::array kind_texts = {"text", "boolean", "any", "keys"};
static_assert(kind_texts.size() == static_cast<size_t>(kind::keys) + 1);

} // namespace

std::span<const key> keys() { return table; }

const key *find_key(std::string_view name) {
    const auto *const found =
        std::ranges::find(table, name, [](const key &row) { return std::string_view(row.name); });
    return found == std::end(table) ? nullptr : found;
}

const char *to_text(group of_key) { return group_texts.at(static_cast<size_t>(of_key)); }

const char *to_text(kind of_value) { return kind_texts.at(static_cast<size_t>(of_value)); }

} // namespace vocabulary
