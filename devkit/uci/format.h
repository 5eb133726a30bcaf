// SPDX-License-Identifier: Apache-2.0
// The text of configuration files: parser and writer.
#pragma once

#include "devkit/uci/package.h"

#include <string>
#include <string_view>
#include <vector>

namespace uci {

// Reads the file of the package `name`; its own "package" lines are ignored. Throws parse_error.
package parse_file(std::string_view name, std::string_view text);

// Reads an exported text, in which each "package" line begins or continues a package. Throws parse_error.
std::vector<package> parse_export(std::string_view text);

// The file of a package. With name_anonymous the generated names are written too.
std::string to_text(const package &source, bool name_anonymous = false);

// The same with its "package" line.
std::string to_export(const package &source, bool name_anonymous);

} // namespace uci
