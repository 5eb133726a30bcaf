// SPDX-License-Identifier: Apache-2.0
// Values made from the bandwidth that a request sends.
#include "batch/bandwidth.h"

#include "plugin/text.h"

const char *as_sent(const char *htmode) { return htmode; }

const char *ht_for_narrow_vht(const char *htmode) {
    if (strncmp(htmode, "VHT20", 5) == 0)
        return "HT20";
    if (strncmp(htmode, "VHT40", 5) == 0)
        return "HT40";
    return htmode;
}

const char *noscan_for_ht40(const char *htmode) { return equal(htmode, "HT40") ? "1" : "0"; }

const char *noscan_for_vht80(const char *htmode) { return equal(htmode, "VHT80") ? "1" : "0"; }
