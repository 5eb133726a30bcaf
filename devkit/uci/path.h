// SPDX-License-Identifier: Apache-2.0
// How a request names what it is about: "package[.section[.option]][=value]".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace uci {

struct path {
    std::string package;
    std::string section; // a name or a selector; empty: the package itself
    std::string option;  // empty: the section itself
    std::optional<std::string> value;
};

// Throws parse_error when a part is no name.
path parse_path(std::string_view text);

} // namespace uci
