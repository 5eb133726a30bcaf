// SPDX-License-Identifier: Apache-2.0
// The server zones.
#include "cloud/zones.h"

#include "plugin/server_zone.h"
#include "plugin/text.h"

namespace {

// The log view calls one zone by another name. The last two are chosen by their host, and on purpose keep an
// account that comes from China (decision 20).
// clang-format off
constexpr server_zone zones[] = {
    // host             name              log name          home
    {host_europe,       "Europe",         "Europe",         host_europe},
    {host_america,      "America",        "America",        host_america},
    {host_asia_pacific, "Asia Pacific",   "Global",         host_asia_pacific},
    {host_china,        "China",          "China",          host_china},
    {host_development,  host_development, host_development, host_china},
    {host_test,         host_test,        host_test,        host_china},
};
// clang-format on

} // namespace

constexpr std::span<const server_zone> offered_zones = std::span(zones).first(4);

const server_zone *zone_of_host(const char *host) {
    for (const server_zone &zone : zones)
        if (equal(host, zone.host))
            return &zone;
    return nullptr;
}

const server_zone *zone_of_name(const char *name) {
    for (const server_zone &zone : zones)
        if (equal(name, zone.name))
            return &zone;
    return nullptr;
}
