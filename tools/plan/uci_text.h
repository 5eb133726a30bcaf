// SPDX-License-Identifier: Apache-2.0
// Configuration text from anybody, in bounds.
#pragma once

#include "devkit/uci/package.h"

#include <string>
#include <string_view>
#include <vector>

namespace plan {

// As uci::parse_file and uci::parse_export; what is larger than any device's configuration is refused before
// it can take its time. Both throw input_error.
uci::package parse_package(const std::string &name, std::string_view text);
std::vector<uci::package> parse_packages(std::string_view text);

} // namespace plan
