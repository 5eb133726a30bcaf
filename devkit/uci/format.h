// SPDX-License-Identifier: Apache-2.0
// The text of configuration files: parser and writer.
#pragma once

#include "devkit/uci/delta.h"
#include "devkit/uci/error.h"
#include "devkit/uci/package.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace uci {

// Hears of a line that breaks the grammar, which is then left out.
using tolerance = std::function<void(const error &)>;

// Reads the file of the package `name`; its own "package" lines are ignored. Throws parse_error for the first
// line that breaks the grammar unless there is a tolerance.
package parse_file(std::string_view name, std::string_view text, const tolerance &tolerant = {});

// Reads an exported text, in which each "package" line begins or continues a package. Throws as parse_file.
std::vector<package> parse_export(std::string_view text, const tolerance &tolerant = {});

// The changes that add what the text says to a package, in its order. Its own "package" lines are ignored.
// Throws as parse_file, and invalid_argument for a value that no change can hold.
std::vector<change> parse_merge(const package &onto, std::string_view text, const tolerance &tolerant = {});

// The file of a package. With name_anonymous the generated names are written too.
std::string to_text(const package &source, bool name_anonymous = false);

// The same with its "package" line.
std::string to_export(const package &source, bool name_anonymous);

} // namespace uci
