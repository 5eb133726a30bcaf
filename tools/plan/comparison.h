// SPDX-License-Identifier: Apache-2.0
// What differs between two states of a package.
#pragma once

#include "devkit/uci/package.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace plan {

// One difference between two states; nothing stands for an option or section that is not there. A section's
// value is its type, a list's are its values joined by a space.
struct option_change {
    std::string path;
    std::optional<std::string> from;
    std::optional<std::string> to;
    std::string key{};       // the member that it was written for; "" where no row tells
    bool unforeseen = false; // `to` is only one of the values that it may come to
};

// The values of a list joined by a space, or the only one.
std::string joined_values(const uci::option &option);

// Appends the differences. A null package is one that does not exist. written: for an option's own name,
// "package.section. option", the path by which it is to be called; any other is called by its name, or a
// selector where it has none.
void compare(const uci::package *before, const uci::package *after,
             const std::map<std::string, std::string> &written, std::vector<option_change> &out);

} // namespace plan
