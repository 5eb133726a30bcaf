// SPDX-License-Identifier: Apache-2.0
// "/cloud/aerolink/batch_get": reports what a cloud push can set.
#include "batch/read.h"
#include "plugin/text.h"

#include <cstring>
#include <span>
#include <syslog.h>
#include <utility>

namespace {

// Whether two keys name one setting of the two bands: "2g_ssid" and "5g_ssid".
bool are_a_pair(const char *key, const char *other) {
    const bool has_band = strncmp(key, "2g_", 3) == 0 || strncmp(key, "5g_", 3) == 0;
    const char other_band = key[0] == '2' ? '5' : '2';
    return has_band && other[0] == other_band && equal(key + 1, other + 1);
}

// Exchanges the keys of each such pair of rows, once: a row's partner stands behind it. Nothing can fail
// here, and every key of a band is one of a pair in the falcon's table.
void swap_bands(std::span<batch_entry> table) {
    for (; !table.empty(); table = table.subspan(1))
        for (batch_entry &other : table)
            if (are_a_pair(table[0].json_key, other.json_key))
                std::swap(table[0].json_key, other.json_key);
}

// falcon numbers its radios the other way round. From the first full read on, every walk of its table, the
// set side included, matches the keys of the other band (decision 4).
void swap_falcon_bands(const char *model) {
    if (!equal(model, "falcon") || falcon_2g_5g_swap_done != 0)
        return;
    falcon_2g_5g_swap_done = 1;
    syslog(LOG_INFO, "swap falcon 2g 5g alias\n\n\n");
    swap_bands(batch_list_ardea);
}

} // namespace

int aerolink_batch_get(json_object *in, json_object *out) {
    read_settings(&family::batch_get, in, out, swap_falcon_bands);
    return AEROLINK_OK;
}
