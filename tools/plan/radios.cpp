// SPDX-License-Identifier: Apache-2.0
// Radios of a configuration.
#include "tools/plan/radios.h"

#include "devkit/uci/package.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace plan {

namespace {

constexpr std::array<std::string_view, 5> yes{"1", "on", "true", "yes", "enabled"};

std::string_view value_of(const uci::section &section, std::string_view name) {
    const auto found = std::ranges::find(section.options, name, &uci::option::name);
    return found == section.options.end() || found->values.empty() ? std::string_view()
                                                                   : found->values.front();
}

bool is_on(const uci::section &section, std::string_view type) {
    return section.type == type && std::ranges::find(yes, value_of(section, "disabled")) == yes.end();
}

} // namespace

int radios_on(const uci::package *wireless) {
    if (wireless == nullptr)
        return 0;
    return static_cast<int>(std::ranges::count_if(wireless->sections, [&](const uci::section &radio) {
        return is_on(radio, "wifi-device") &&
               std::ranges::any_of(wireless->sections, [&](const uci::section &network) {
                   return is_on(network, "wifi-iface") && value_of(network, "device") == radio.name;
               });
    }));
}

} // namespace plan
