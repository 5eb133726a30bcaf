// The six appliers of a cloud batch: everything in which they differ.
#include "batch/models.h"
#include "batch/rows.h"
#include "platform/zuutil.h"

namespace {

// --- Models
// --------------------------------------------------------------------------------------------------------

constexpr const char *falcon[] = {"falcon"};
constexpr const char *osprey[] = {"osprey"};
constexpr const char *plovers[] = {"plover-v2", "plover"};
constexpr model_list any_model = {};

// The ardea family writes the row once more, behind the address of the router's own name.
bool write_lan_ip_twice(const row_step &step) { return write_lan_ip(step) && write_row(step); }

// clang-format off

// --- Bandwidth: what "2g_htmode" and "5g_htmode" set, in this order; a null path is the row's own ------------------

//                                              path                        fixed    made
constexpr bandwidth_write single_2g[] =        {{nullptr,                    nullptr, as_sent},
                                                {"wireless.radio0.hwmode",   "11g",   nullptr},
                                                {"wireless.radio0.noscan",   nullptr, noscan_for_ht40}};

constexpr bandwidth_write dual_2g[] =          {{nullptr,                    nullptr, as_sent},
                                                {"wireless.radio1.noscan",   nullptr, noscan_for_ht40},
                                                {"wireless.radio1.hwmode",   "11g",   nullptr}};

constexpr bandwidth_write dual_5g[] =          {{nullptr,                    nullptr, as_sent},
                                                {"wireless.radio0.hwmode",   "11a",   nullptr},
                                                {"wireless.radio0.noscan",   nullptr, noscan_for_vht80}};

constexpr bandwidth_write dual_5g_osprey[] =   {{nullptr,                    nullptr, as_sent},
                                                {"wireless.radio0.hwmode",   "11a",   nullptr},
                                                {"wireless.radio0.noscan",   "0",     nullptr}};

constexpr bandwidth_write mt76x8_2g[] =        {{nullptr,                    nullptr, as_sent},
                                                {"wireless.mt7628.hwmode",   "11g",   nullptr},
                                                {"wireless.mt7628.noscan",   nullptr, noscan_for_ht40}};

constexpr bandwidth_write ardea_2g[] =         {{"wireless.wifi0.hwmode",    "11ng",  nullptr},
                                                {nullptr,                    nullptr, as_sent}};

constexpr bandwidth_write ardea_5g[] =         {{"wireless.wifi1.hwmode",    "11ac",  nullptr},
                                                {nullptr,                    nullptr, ht_for_narrow_vht}};

// falcon numbers its radios the other way round: the mode crosses over, the bandwidth stays with the table's row.
constexpr bandwidth_write falcon_2g[] =        {{"wireless.wifi1.hwmode",    "11axg", nullptr},
                                                {nullptr,                    nullptr, as_sent}};

constexpr bandwidth_write falcon_5g[] =        {{"wireless.wifi0.hwmode",    "11axa", nullptr},
                                                {nullptr,                    nullptr, ht_for_narrow_vht}};

constexpr bandwidth_write mt7615_2g[] =        {{"wireless.mt7615e2.hwmode", "11ng",  nullptr},
                                                {"wireless.mt7615e2.noscan", "0",     nullptr},
                                                {nullptr,                    nullptr, as_sent}};

constexpr bandwidth_write mt7615_5g[] =        {{"wireless.mt7615e5.hwmode", "11ac",  nullptr},
                                                {"wireless.mt7615e5.noscan", "0",     nullptr},
                                                {nullptr,                    nullptr, ht_for_narrow_vht}};

//                                              key          models     writes
constexpr bandwidth_rule single_bandwidth[] = {{"2g_htmode", any_model, single_2g}};

constexpr bandwidth_rule dual_bandwidth[] =   {{"2g_htmode", any_model, dual_2g},
                                               {"5g_htmode", osprey,    dual_5g_osprey},
                                               {"5g_htmode", any_model, dual_5g}};

constexpr bandwidth_rule mt76x8_bandwidth[] = {{"2g_htmode", any_model, mt76x8_2g}};

constexpr bandwidth_rule ardea_bandwidth[] =  {{"2g_htmode", falcon,    falcon_2g},
                                               {"2g_htmode", any_model, ardea_2g},
                                               {"5g_htmode", falcon,    falcon_5g},
                                               {"5g_htmode", any_model, ardea_5g}};

constexpr bandwidth_rule mt7615_bandwidth[] = {{"2g_htmode", any_model, mt7615_2g},
                                               {"5g_htmode", any_model, mt7615_5g}};

// --- Keys that have an effect whatever their option holds ----------------------------------------------------------

constexpr key_rule always_plain[] =           {{"2g_htmode",       set_bandwidth},
                                               {"5g_htmode",       set_bandwidth},
                                               {"system_timezone", set_time_zone}};

constexpr key_rule always_and_commit_zone[] = {{"2g_htmode",       set_bandwidth},
                                               {"5g_htmode",       set_bandwidth},
                                               {"system_timezone", set_time_zone_and_commit}};

constexpr key_rule always_and_log_guest[] =   {{"2g_htmode",       set_bandwidth},
                                               {"5g_htmode",       set_bandwidth},
                                               {"system_timezone", set_time_zone},
                                               {"guest_lan_ip",    write_guest_lan_ip}};

// --- Keys that are written, unchecked, while their option is still empty -------------------------------------------

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

// --- Keys without a check whose option holds a value; every other one is simply written ----------------------------

constexpr key_rule stored_plain[] =     {{"2g_txpower", set_txpower},
                                         {"5g_txpower", set_txpower},
                                         {"2g_channel", write_unless_repeater},
                                         {"5g_channel", write_unless_repeater},
                                         {"password",   set_password}};

constexpr key_rule stored_finch[] =     {{"lan_ip",     write_lan_ip},
                                         {"2g_txpower", set_txpower},
                                         {"2g_channel", write_unless_repeater},
                                         {"password",   set_password}};

// The bandwidth was set by its own rule, or not at all while the repeater is up.
constexpr key_rule stored_mt7615[] =    {{"2g_txpower", set_txpower},
                                         {"5g_txpower", set_txpower},
                                         {"2g_channel", write_unless_repeater},
                                         {"5g_channel", write_unless_repeater},
                                         {"password",   set_password},
                                         {"2g_htmode",  leave_alone},
                                         {"5g_htmode",  leave_alone}};

constexpr key_rule stored_ardea[] =     {{"lan_ip",     write_lan_ip_twice},
                                         {"2g_txpower", set_txpower},
                                         {"5g_txpower", set_txpower},
                                         {"2g_channel", write_unless_repeater},
                                         {"5g_channel", write_unless_repeater},
                                         {"password",   set_password},
                                         {"2g_htmode",  leave_alone},
                                         {"5g_htmode",  leave_alone}};

// clang-format on

// What the six have in common.
constexpr applier cloud_applier(std::span<batch_entry> table, std::span<const bandwidth_rule> bandwidth,
                                std::span<const key_rule> always, std::span<const first_time_key> first_time,
                                std::span<const key_rule> stored) {
    return {table, bandwidth, always, first_time, write_when_valid, stored, write_row, {}, answer_set_false};
}

// clang-format off

// --- The appliers --------------------------------------------------------------------------------------------------

//                                       table              bandwidth         always                  first time         stored
constexpr applier finch  = cloud_applier(batch_list_finch,  single_bandwidth, always_and_log_guest,   single_first_time, stored_finch);
constexpr applier ardea  = cloud_applier(batch_list_ardea,  ardea_bandwidth,  always_and_commit_zone, dual_first_time,   stored_ardea);
constexpr applier mt76x8 = cloud_applier(batch_list_mt76x8, mt76x8_bandwidth, always_plain,           mt76x8_first_time, stored_plain);
constexpr applier mt7615 = cloud_applier(batch_list_mt7615, mt7615_bandwidth, always_plain,           dual_first_time,   stored_mt7615);
constexpr applier single = cloud_applier(batch_list2,       single_bandwidth, always_and_log_guest,   single_first_time, stored_plain);
constexpr applier dual   = cloud_applier(batch_list1,       dual_bandwidth,   always_and_log_guest,   dual_first_time,   stored_plain);

// clang-format on

} // namespace

int batch_set_finch(json_object *in, json_object *out) { return apply_and_commit(finch, in, out, nullptr); }

int batch_set_heron(json_object *in, json_object *out) {
    return apply_and_commit(ardea, in, out, get_model_name());
}

int batch_set_mt(json_object *in, json_object *out) { return apply_and_commit(mt76x8, in, out, nullptr); }

int batch_set_mt7615(json_object *in, json_object *out) { return apply_and_commit(mt7615, in, out, nullptr); }

int batch_set_default(json_object *in, json_object *out, zuci2_context *ctx, const char *model,
                      int dual_radio) {
    return apply_rows(dual_radio ? dual : single, in, out, ctx, model);
}
