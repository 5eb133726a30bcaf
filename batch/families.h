// Device families: which settings a model has.
#pragma once

#include "batch/names.h"
#include "plugin/aerolink.h"

#include <span>

struct family {
    name_list models;
    std::span<batch_entry> table;
    int radios;
    name_list zero_when_empty;                       // keys that a full read reports as "0" while unset
    int (*apply)(json_object *in, json_object *out); // null: models without an applier of their own share one
};

// Families by model name, and the two for every other model, by its number of radios.
struct family_list {
    std::span<const family> named;
    family one_radio;
    family two_radios;
};

extern const family_list cloud_families;

// Chooses by exact model name, else by the number of "wifi-device" sections at this moment.
const family &family_of(const family_list &families, const char *model, zuci2_context *ctx);

// The keys of disable and hidden options on devices with one and with two radios.
inline constexpr const char *one_radio_flags[] = {"2g_disable", "guest_2g_disable", "2g_hidden"};
inline constexpr const char *two_radio_flags[] = {"2g_disable",       "5g_disable", "guest_2g_disable",
                                                  "guest_5g_disable", "2g_hidden",  "5g_hidden"};
