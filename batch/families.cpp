// SPDX-License-Identifier: Apache-2.0
// The matrix of devices: by which table and which rules each route serves a model. The rules stand in
// cloud_rules.cpp and white_label_rules.cpp, under the names that the cells give.
#include "batch/families.h"

#include "batch/models.h"
#include "batch/restart.h"
#include "plugin/uci.h"

namespace {

constexpr const char *herons[] = {"heron", "egret"};
constexpr const char *cranes[] = {"crane", "stork"};
constexpr const char *wren[] = {"wren"};
constexpr const char *finch[] = {"finch"};
constexpr const char *switch_models[] = {"lark", "swift", "robin", "dove", "teal",
                                         "gull", "kite",  "rook",  "ibis"};

constexpr const char *one_radio_flags[] = {"2g_disable", "guest_2g_disable", "2g_hidden"};
constexpr const char *two_radio_flags[] = {"2g_disable",       "5g_disable", "guest_2g_disable",
                                           "guest_5g_disable", "2g_hidden",  "5g_hidden"};

// clang-format off

//                                 table              zero while unset
constexpr readable ardea        = {batch_list_ardea,  two_radio_flags};
constexpr readable mt76x8       = {batch_list_mt76x8, one_radio_flags};
constexpr readable mt7615       = {batch_list_mt7615, two_radio_flags};
constexpr readable finch_flags  = {batch_list_finch,  one_radio_flags};
constexpr readable finch_stored = {batch_list_finch,  {}};
constexpr readable one_radio    = {batch_list2,       one_radio_flags};
constexpr readable two_radios   = {batch_list1,       two_radio_flags};

// The cells of models that are served as every model without a row: by the default layout of their number of radios.
constexpr const readable *unlisted_read = nullptr;
constexpr const rule_set *unlisted_write = nullptr;

// Where a cell is not what the rest of its row lets expect, it is so by contract:
// (1) Of the ardea family only herons are provisioned in their own layout. The others get the writes of the default
//     layout, and so does a wren, although they have none of its radios: what is sent for a radio is lost (decision 5).
// (2) A falcon is read as it is provisioned. So this read never sees the bands that the first batch_get swaps.
// (3) A falcon's PHYs stay up, unlike those of its family.
// (4) A finch's unset flags are left out. So the reboot flag stays visible, which every full read puts under
//     "2g_disable" first (decision 6).
constexpr family listed[] = {
    // models         batch_get      batch_set       get_config      set_config           restart
    {herons,          &ardea,        &cloud_ardea,   &ardea,         &white_label_ardea,  restart_network_and_phys},
    {cranes,          &ardea,        &cloud_ardea,   &ardea,         unlisted_write,      restart_network_and_phys}, // (1)
    {falcon,          &ardea,        &cloud_ardea,   unlisted_read,  unlisted_write,      restart_network},          // (1) (2) (3)
    {mt76x8_models,   &mt76x8,       &cloud_mt76x8,  &mt76x8,        &white_label_mt76x8, restart_network},
    {wren,            &mt7615,       &cloud_mt7615,  &mt7615,        unlisted_write,      restart_network},          // (1)
    {finch,           &finch_flags,  &cloud_finch,   &finch_stored,  unlisted_write,      restart_network},          // (4)
    {switch_models,   unlisted_read, unlisted_write, unlisted_read,  unlisted_write,      reset_switch},
};

constexpr family unlisted_with_one_radio  = {
    any_model,        &one_radio,  &cloud_one_radio,  &one_radio,  &white_label_one_radio,  restart_network};
constexpr family unlisted_with_two_radios = {
    any_model,        &two_radios, &cloud_two_radios, &two_radios, &white_label_two_radios, restart_network};

// clang-format on

} // namespace

const family *row_of(const char *model) {
    for (const family &row : listed)
        if (lists(row.models, model))
            return &row;
    return nullptr;
}

const family &unlisted_row(zuci2_context *ctx) {
    return count_sections(ctx, "wireless.@wifi-device") < 2 ? unlisted_with_one_radio
                                                            : unlisted_with_two_radios;
}
