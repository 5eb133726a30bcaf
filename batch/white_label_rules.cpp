// SPDX-License-Identifier: Apache-2.0
// The four rule sets of a white-label request: everything in which they differ from each other and from a
// cloud batch.
#include "batch/bandwidth.h"
#include "batch/rule_sets.h"
#include "platform/zuwificore.h"
#include "plugin/cloud_link.h"
#include "plugin/command.h"
#include "plugin/text.h"

#include <iterator>

namespace {

constexpr size_t path_size = 64;

// --- Rules ---------------------------------------------------------------------------------------

bool set_language(const row_step &step) {
    batch_set_language(step.row->value);
    return true;
}

// Another server: the link is switched on, the device is unbound.
bool move_cloud_link(const row_step &step) {
    enable_cloud_link(step.ctx);
    forget_account(step.ctx);
    return write_row(step);
}

// Ends the updater and the sleep between its checks; starts it anew when it is enabled.
bool set_autoupdate(const row_step &step) {
    write_row(step);
    run("kill -9 $(pgrep -f \"zuautoupdater\")");
    run("kill -9 $(pgrep -f \"sleep 10800\")");
    if (equal(step.row->value, "1"))
        run("/usr/bin/zuautoupdater &");
    return true;
}

static_assert(std::size(batch_list_wbf) <= std::size(batch_list_ardea) &&
                  std::size(batch_list_wbf1) <= std::size(batch_list_ardea),
              "each row of a table that check_ardea_value serves needs one of the ardea table's");

// By contract the subject of this check is not the row's value but the one that the ardea table holds at the
// same place: null, unless somebody outside the plug-in has set it, since every walk clears what it sets. The
// check decides about the answer only; the row's writes do not depend on it (decision 7).
bool check_ardea_value(const row_step &step) {
    const char *subject = batch_list_ardea[step.row - step.rules->table.data()].value;
    if (!subject)
        return true;
    if (!is_valid(step, subject))
        answer_set_false(step);
    else if (equal(step.row->json_key, "lan_ip"))
        write_lan_ip(step);
    return true;
}

bool write_when_valid_silently(const row_step &step) {
    return !is_valid(step, step.row->value) || write_valid(step);
}

void clear_passphrase(const row_step &step) {
    char path[path_size];
    if (format(path, "%s.key", step.interface))
        set_option(step.ctx, path, "");
}

void read_interface_option(const row_step &step, const char *option, std::span<char> out) {
    char path[path_size];
    out[0] = '\0';
    if (format(path, "%s.%s", step.interface, option))
        read_option(step.ctx, path, out);
}

bool write_encryption(const row_step &step) {
    if (equal(step.row->value, "none"))
        clear_passphrase(step);
    return write_row(step);
}

// Puts the encryption into the running driver as well. "WPAPSK" gets the mode's text, not the passphrase, by
// contract (decision 9).
bool push_encryption(const row_step &step) {
    char ssid[33];
    char interface[16];
    read_interface_option(step, "ssid", ssid);
    read_interface_option(step, "ifname", interface);
    if (equal(step.row->value, "none")) {
        clear_passphrase(step);
        mt76x8_private_iwpriv_set(interface, "AuthMode", "OPEN");
        mt76x8_private_iwpriv_set(interface, "EncrypType", "NONE");
        mt76x8_private_iwpriv_set(interface, "SSID", ssid);
    } else {
        mt76x8_private_iwpriv_set(interface, "SSID", ssid);
        mt76x8_private_iwpriv_set(interface, "AuthMode",
                                  equal(step.row->value, "psk-mixed") ? "WPAPSKWPA2PSK" : "WPA2PSK");
        mt76x8_private_iwpriv_set(interface, "EncrypType", "AES");
        mt76x8_private_iwpriv_set(interface, "WPAPSK", step.row->value);
        mt76x8_private_iwpriv_set(interface, "SSID", ssid);
    }
    return write_row(step);
}

// clang-format off

// --- Keys that have an effect whatever their option holds ----------------------------------------

constexpr key_rule always[] = {
    {"2g_htmode",                set_bandwidth},
    {"5g_htmode",                set_bandwidth},
    {"2g_disable",               write_row},
    {"5g_disable",               write_row},
    {"guest_2g_disable",         write_row},
    {"guest_5g_disable",         write_row},
    {"2g_hidden",                write_row},
    {"5g_hidden",                write_row},
    {"hostname",                 write_row},
    {"server_url",               write_row},
    {"autoupdate_firmware_path", write_row},
    {"autoupdate_time",          write_row},
    {"server_name",              move_cloud_link},
    {"autoupdate_enable",        set_autoupdate},
    {"language",                 set_language},
    {"password",                 set_password},
};

constexpr key_rule zone_and_guest[] = {
    {"system_timezone",          set_time_zone},
    {"guest_lan_ip",             write_guest_lan_ip},
};

constexpr key_rule zone_committed[] = {
    {"system_timezone",          set_time_zone_and_commit},
};

// --- Keys without a check whose option holds a value; no other one is written --------------------
// Behind an encryption rule stands the section whose passphrase the value "none" clears.

constexpr key_rule radio[] = {
    {"2g_txpower",         set_txpower},
    {"5g_txpower",         set_txpower},
    {"2g_channel",         write_unless_repeater},
    {"5g_channel",         write_unless_repeater},
};

constexpr key_rule two_radios_stored[] = {
    {"lan_ip",             write_lan_ip},
    {"2g_encrytion",       write_encryption, "wireless.default_radio1"},
    {"5g_encrytion",       write_encryption, "wireless.default_radio0"},
    {"guest_2g_encrytion", write_encryption, "wireless.guest2g"},
    {"guest_5g_encrytion", write_encryption, "wireless.guest5g"},
};

constexpr key_rule one_radio_stored[] = {
    {"lan_ip",             write_lan_ip},
    {"2g_encrytion",       write_encryption, "wireless.default_radio1"}, // although the radio is radio0 (decision 8)
    {"guest_2g_encrytion", write_encryption, "wireless.guest2g"},
};

// The addresses of this layout have checks, by which they are written.
constexpr key_rule mt76x8_stored[] = {
    {"2g_encrytion",       push_encryption,  "wireless.@wifi-iface[0]"},
    {"guest_2g_encrytion", push_encryption,  "wireless.guest2g"},
};

constexpr key_rule ardea_stored[] = {
    {"lan_ip",             write_lan_ip},
    {"guest_lan_ip",       leave_alone}, // never written on this layout, by contract
    {"2g_encrytion",       write_encryption, "wireless.@wifi-iface[0]"},
    {"5g_encrytion",       write_encryption, "wireless.@wifi-iface[1]"},
    {"guest_2g_encrytion", write_encryption, "wireless.guest2g"},
    {"guest_5g_encrytion", write_encryption, "wireless.guest5g"},
};

// --- Keys that are written whatever their option holds and their check said ----------------------

constexpr const char *names_and_passphrases[] = {
    "2g_ssid", "5g_ssid", "guest_2g_ssid", "guest_5g_ssid",
    "2g_key",  "5g_key",  "guest_2g_key",  "guest_5g_key",
};

// clang-format on

// What the four have in common.
constexpr rule_set white_label(std::span<batch_entry> table, bool own_context,
                               std::span<const bandwidth_rule> bandwidth,
                               std::span<const key_rule> own_always, row_rule checked,
                               std::span<const key_rule> own_stored, void (*refuse)(const row_step &)) {
    return {.table = table,
            .own_context = own_context,
            .bandwidth = bandwidth,
            .always = {own_always, always},
            .first_time = {},
            .checked = checked,
            .stored = {own_stored, radio},
            .otherwise = nullptr,
            .written_anyway = names_and_passphrases,
            .refuse = refuse};
}

} // namespace

// --- The rule sets -------------------------------------------------------------------------------

// clang-format off

//                                                        table              own context  bandwidth         always          checked                    stored             refuse
constexpr rule_set white_label_mt76x8     = white_label(batch_list_mt76x8, true,        mt76x8_bandwidth, zone_committed, write_when_valid_silently, mt76x8_stored,     log_refusal);
constexpr rule_set white_label_ardea      = white_label(batch_list_ardea,  true,        ardea_bandwidth,  zone_committed, write_when_valid,          ardea_stored,      answer_set_false);
constexpr rule_set white_label_one_radio  = white_label(batch_list_wbf1,   false,       single_bandwidth, zone_and_guest, check_ardea_value,         one_radio_stored,  answer_set_false);
constexpr rule_set white_label_two_radios = white_label(batch_list_wbf,    false,       dual_bandwidth,   zone_and_guest, check_ardea_value,         two_radios_stored, answer_set_false);

// --- As exported ---------------------------------------------------------------------------------

int batch_set_mt_wbf(json_object *in, json_object *out)    { return apply(white_label_mt76x8, in, out); }
int batch_set_heron_wbf(json_object *in, json_object *out) { return apply(white_label_ardea,  in, out); }

// clang-format on
