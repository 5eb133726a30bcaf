// SPDX-License-Identifier: Apache-2.0
// What the bandwidth keys "2g_htmode" and "5g_htmode" set on each kind of device.
#pragma once

#include "batch/models.h"
#include "batch/rows.h"

// --- Values made from the request's --------------------------------------------------------------

const char *as_sent(const char *htmode);
const char *ht_for_narrow_vht(const char *htmode); // "VHT20..." and "VHT40..." become "HT20" and "HT40"
const char *noscan_for_ht40(const char *htmode);   // "1" for "HT40", else "0"
const char *noscan_for_vht80(const char *htmode);  // "1" for "VHT80", else "0"

// clang-format off

// --- Writes, in this order; a null path is the row's own -----------------------------------------

inline constexpr bandwidth_write single_2g[] = {
    // path                      fixed    made
    {nullptr,                     nullptr, as_sent},
    {"wireless.radio0.hwmode",    "11g",   nullptr},
    {"wireless.radio0.noscan",    nullptr, noscan_for_ht40},
};

inline constexpr bandwidth_write dual_2g[] = {
    {nullptr,                     nullptr, as_sent},
    {"wireless.radio1.noscan",    nullptr, noscan_for_ht40},
    {"wireless.radio1.hwmode",    "11g",   nullptr},
};

inline constexpr bandwidth_write dual_5g[] = {
    {nullptr,                     nullptr, as_sent},
    {"wireless.radio0.hwmode",    "11a",   nullptr},
    {"wireless.radio0.noscan",    nullptr, noscan_for_vht80},
};

inline constexpr bandwidth_write dual_5g_osprey[] = {
    {nullptr,                     nullptr, as_sent},
    {"wireless.radio0.hwmode",    "11a",   nullptr},
    {"wireless.radio0.noscan",    "0",     nullptr},
};

inline constexpr bandwidth_write mt76x8_2g[] = {
    {nullptr,                     nullptr, as_sent},
    {"wireless.mt7628.hwmode",    "11g",   nullptr},
    {"wireless.mt7628.noscan",    nullptr, noscan_for_ht40},
};

inline constexpr bandwidth_write ardea_2g[] = {
    {"wireless.wifi0.hwmode",     "11ng",  nullptr},
    {nullptr,                     nullptr, as_sent},
};

inline constexpr bandwidth_write ardea_5g[] = {
    {"wireless.wifi1.hwmode",     "11ac",  nullptr},
    {nullptr,                     nullptr, ht_for_narrow_vht},
};

// falcon numbers its radios the other way round: the mode crosses over, the bandwidth stays with the table's row.
inline constexpr bandwidth_write falcon_2g[] = {
    {"wireless.wifi1.hwmode",     "11axg", nullptr},
    {nullptr,                     nullptr, as_sent},
};
inline constexpr bandwidth_write falcon_5g[] = {
    {"wireless.wifi0.hwmode",     "11axa", nullptr},
    {nullptr,                     nullptr, ht_for_narrow_vht},
};

inline constexpr bandwidth_write mt7615_2g[] = {
    {"wireless.mt7615e2.hwmode",  "11ng",  nullptr},
    {"wireless.mt7615e2.noscan",  "0",     nullptr},
    {nullptr,                     nullptr, as_sent},
};

inline constexpr bandwidth_write mt7615_5g[] = {
    {"wireless.mt7615e5.hwmode",  "11ac",  nullptr},
    {"wireless.mt7615e5.noscan",  "0",     nullptr},
    {nullptr,                     nullptr, ht_for_narrow_vht},
};

// --- Rules: the first one for the key and the model wins -----------------------------------------

inline constexpr bandwidth_rule single_bandwidth[] = {
    // key        models     writes
    {"2g_htmode", any_model, single_2g},
};

inline constexpr bandwidth_rule dual_bandwidth[] = {
    {"2g_htmode", any_model, dual_2g},
    {"5g_htmode", osprey,    dual_5g_osprey},
    {"5g_htmode", any_model, dual_5g},
};

inline constexpr bandwidth_rule mt76x8_bandwidth[] = {
    {"2g_htmode", any_model, mt76x8_2g},
};

inline constexpr bandwidth_rule mt7615_bandwidth[] = {
    {"2g_htmode", any_model, mt7615_2g},
    {"5g_htmode", any_model, mt7615_5g},
};

inline constexpr bandwidth_rule ardea_bandwidth[] = {
    {"2g_htmode", any_model, ardea_2g},
    {"5g_htmode", any_model, ardea_5g},
};

inline constexpr bandwidth_rule ardea_and_falcon_bandwidth[] = {
    {"2g_htmode", falcon,    falcon_2g},
    {"5g_htmode", falcon,    falcon_5g},
    {"2g_htmode", any_model, ardea_2g},
    {"5g_htmode", any_model, ardea_5g},
};

// clang-format on
