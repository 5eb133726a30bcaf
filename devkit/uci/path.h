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

// The same, and the package may be a file outside the configuration folder: a path that begins with "/" or
// "./", or has a "/" before its first "."; its last part is a package name.
path parse_file_path(std::string_view text);

// The name of a package that is given by its name or by such a path.
std::string_view package_name(std::string_view package);

bool is_file(std::string_view package);

} // namespace uci
