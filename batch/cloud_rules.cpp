// SPDX-License-Identifier: Apache-2.0
// The six rule sets of a cloud batch: everything in which they differ.
#include "batch/bandwidth.h"
#include "batch/models.h"
#include "batch/rule_sets.h"

namespace {

// The ardea family writes the row once more, behind the address of the router's own name
// (decision 15).
bool write_lan_ip_twice(const row_step &step) { return write_lan_ip(step) && write_row(step); }

// clang-format off

// --- Keys that have an effect whatever their option holds ----------------------------------------

constexpr key_rule bandwidth_keys[] = {
    {"2g_htmode",       set_bandwidth},
    {"5g_htmode",       set_bandwidth},
};

constexpr key_rule zone[] = {
    {"system_timezone", set_time_zone},
};

constexpr key_rule zone_committed[] = {
    {"system_timezone", set_time_zone_and_commit},
};

constexpr key_rule zone_and_guest[] = {
    {"system_timezone", set_time_zone},
    {"guest_lan_ip",    write_guest_lan_ip},
};

// --- Keys that are written, unchecked, while their option is still empty -------------------------

constexpr first_time_key single_first_time[] = {
    {"2g_disable",               any_model},
    {"guest_2g_disable",         any_model},
    {"2g_hidden",                any_model},
    {"2g_key",                   any_model},
    {"guest_2g_key",             any_model},
    {"autoupdate_firmware_path", any_model},
};

constexpr first_time_key dual_first_time[] = {
    {"2g_disable",               any_model},
    {"5g_disable",               any_model},
    {"guest_2g_disable",         any_model},
    {"guest_5g_disable",         any_model},
    {"2g_hidden",                any_model},
    {"5g_hidden",                any_model},
    {"2g_key",                   any_model},
    {"5g_key",                   any_model},
    {"guest_2g_key",             any_model},
    {"guest_5g_key",             any_model},
    {"autoupdate_firmware_path", any_model},
};

constexpr first_time_key mt76x8_first_time[] = {
    {"2g_disable",               mt76x8_models},
    {"guest_2g_disable",         mt76x8_models},
    {"2g_hidden",                plovers},
    {"2g_key",                   mt76x8_models},
    {"guest_2g_key",             mt76x8_models},
    {"autoupdate_firmware_path", any_model},
};

// --- Keys without a check whose option holds a value; every other one is simply written ----------

constexpr key_rule radio_and_password[] = {
    {"2g_txpower",      set_txpower},
    {"5g_txpower",      set_txpower},
    {"2g_channel",      write_unless_repeater},
    {"5g_channel",      write_unless_repeater},
    {"password",        set_password},
};

constexpr key_rule lan[] = {
    {"lan_ip",          write_lan_ip},
};

// The bandwidth was set before, or is not to be set while the repeater is up (decision 14).
constexpr key_rule bandwidth_done[] = {
    {"2g_htmode",       leave_alone},
    {"5g_htmode",       leave_alone},
};

constexpr key_rule lan_twice_and_bandwidth_done[] = {
    {"lan_ip",          write_lan_ip_twice},
    {"2g_htmode",       leave_alone},
    {"5g_htmode",       leave_alone},
};

// clang-format on

// What the six have in common.
constexpr rule_set cloud(std::span<batch_entry> table, bool own_context,
                         std::span<const bandwidth_rule> bandwidth, std::span<const key_rule> always,
                         std::span<const first_time_key> first_time, std::span<const key_rule> stored,
                         bool model_anew = false) {
    return {.table = table,
            .own_context = own_context,
            .bandwidth = bandwidth,
            .always = {always, bandwidth_keys},
            .first_time = first_time,
            .checked = write_when_valid,
            .stored = {stored, radio_and_password},
            .otherwise = write_row,
            .written_anyway = {},
            .refuse = answer_set_false,
            .model_anew = model_anew};
}

constexpr bool model_anew = true;

} // namespace

// --- The rule sets -------------------------------------------------------------------------------

// clang-format off

//                                            table              own context  bandwidth                   always          first time         stored
constexpr rule_set cloud_finch      = cloud(batch_list_finch,  true,        single_bandwidth,           zone_and_guest, single_first_time, lan);
constexpr rule_set cloud_ardea      = cloud(batch_list_ardea,  true,        ardea_and_falcon_bandwidth, zone_committed, dual_first_time,   lan_twice_and_bandwidth_done);
constexpr rule_set cloud_mt76x8     = cloud(batch_list_mt76x8, true,        mt76x8_bandwidth,           zone,           mt76x8_first_time, {}, model_anew);
constexpr rule_set cloud_mt7615     = cloud(batch_list_mt7615, true,        mt7615_bandwidth,           zone,           dual_first_time,   bandwidth_done);
constexpr rule_set cloud_one_radio  = cloud(batch_list2,       false,       single_bandwidth,           zone_and_guest, single_first_time, {});
constexpr rule_set cloud_two_radios = cloud(batch_list1,       false,       dual_bandwidth,             zone_and_guest, dual_first_time,   {});

// --- As exported ---------------------------------------------------------------------------------

int batch_set_finch(json_object *in, json_object *out)  { return apply(cloud_finch,  in, out); }
int batch_set_heron(json_object *in, json_object *out)  { return apply(cloud_ardea,  in, out); }
int batch_set_mt(json_object *in, json_object *out)     { return apply(cloud_mt76x8, in, out); }
int batch_set_mt7615(json_object *in, json_object *out) { return apply(cloud_mt7615, in, out); }

// clang-format on

int batch_set_default(json_object *in, json_object *out, zuci2_context *ctx, const char *model, int dual) {
    return apply(dual ? cloud_two_radios : cloud_one_radio, in, out, ctx, model);
}
