// SPDX-License-Identifier: Apache-2.0
// Turns the cloud's transmit-power levels into a radio's UCI "txpower", scaled from the maximum that stands
// beside it in the same section.
#include "plugin/aerolink.h"
#include "plugin/text.h"
#include "plugin/uci.h"

#include <cstdlib>
#include <syslog.h>

namespace {

constexpr char maximum_option[] = "txpower_max";
constexpr int default_maximum = 20;

enum { level_max, level_high, level_medium, level_low };

struct power_level {
    const char *name;
    int level;
};

constexpr power_level levels[] = {
    {"max", level_max}, {"high", level_high}, {"medium", level_medium}, {"low", level_low}};

const power_level *find_level(const char *name) {
    for (const power_level &candidate : levels)
        if (equal(name, candidate.name))
            return &candidate;
    return nullptr;
}

int power_of_level(int level, int maximum) {
    switch (level) {
    case level_high:
        return maximum * 3 / 4;
    case level_medium:
        return maximum / 2;
    case level_low:
        return 0;
    default:
        return maximum;
    }
}

int set_power(const char *band, int level, const char *path) {
    syslog(LOG_INFO, "set %s max txpower level = %d\n", band, level);
    const uci_scope uci;
    char maximum_path[256];
    if (get_txpower_max_key(path, maximum_path, sizeof maximum_path) != 0)
        return 1;
    char text[8];
    read_option(uci.ctx, maximum_path, text);
    const int maximum = atoi(text);
    const int power = power_of_level(level, maximum != 0 ? maximum : default_maximum);
    if (!format(text, "%d", power))
        return 1;
    syslog(LOG_INFO, "set 2g max txpower = %s\n", text); // for both bands (decision 22)
    set_option(uci.ctx, path, text);
    return 0;
}

} // namespace

int get_txpower_max_key(const char *path, char *out, int size) {
    if (!path || !out || size <= 0)
        return 1;
    memset(out, 0, static_cast<size_t>(size));
    size_t length = 0;
    for (int dots = 0; path[length] != '\0' && dots < 2; ++length)
        if (path[length] == '.')
            ++dots;
    if (length + sizeof maximum_option > static_cast<size_t>(size))
        return 1;
    memcpy(out, path, length);
    memcpy(out + length, maximum_option, sizeof maximum_option);
    syslog(LOG_INFO, "get max key = %s\n", out);
    return 0;
}

int txpower_max_2g(int level, const char *path) { return set_power("2g", level, path); }

int txpower_max_5g(int level, const char *path) { return set_power("5g", level, path); }

int txpower_max_set(const char *key, const char *value, const char *path) {
    syslog(LOG_INFO, "txpower set, key = %s, val = %s, uci key = %s\n", key, value, path);
    const power_level *found = find_level(value);
    if (!found) {
        syslog(LOG_INFO, "err val = %s\n", value);
        return 1;
    }
    if (equal(key, "2g_txpower")) {
        txpower_max_2g(found->level, path);
    } else if (equal(key, "5g_txpower")) {
        txpower_max_5g(found->level, path);
    } else {
        syslog(LOG_INFO, "err pkey = %s\n", key);
        return 1;
    }
    return 0;
}
