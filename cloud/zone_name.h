// The names that users know the server zones by.
#pragma once

#include "plugin/text.h"

#include <span>

struct zone_name {
    const char *host;
    const char *name;
};

// The name of a stored host; a host that no zone has is shown as it is.
inline const char *name_of_host(std::span<const zone_name> zones, const char *host) {
    for (const zone_name &zone : zones)
        if (equal(host, zone.host))
            return zone.name;
    return host;
}
