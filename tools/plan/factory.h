// SPDX-License-Identifier: Apache-2.0
// What the kit knows of devices without asking one; made at build time from the box's device profiles.
#pragma once

#include <span>
#include <string_view>

namespace plan {

struct factory_profile {
    const char *model;
    std::string_view snapshot; // one JSON object, as a line of a stream
};

// In the order of the profiles.
std::span<const factory_profile> factory_profiles();

// The firmware's time-zone table, "/usr/share/zoneinfo/tzdata.lua".
extern const std::string_view time_zone_table;

} // namespace plan
