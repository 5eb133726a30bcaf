// SPDX-License-Identifier: Apache-2.0
// Which texts may stand where, and how a value is quoted.
#pragma once

#include <string>
#include <string_view>

namespace uci {

// Space, tab, line feed, carriage return, vertical tab, form feed; independent of the locale.
bool is_space(char c);

// Sections and options: letters, digits and "_".
bool is_name(std::string_view text);

// Packages: printable ASCII without what a path or a file name gives a meaning of its own ("." and "/").
bool is_package_name(std::string_view text);

// Types: printable ASCII without blanks.
bool is_type(std::string_view text);

// A type or package name that means itself where it stands without quotes.
bool is_bare(std::string_view text);

// Packages whose changes a delta line can hold.
bool is_recordable_package(std::string_view text);

// Values: anything but control characters, of which tab, line feed and carriage return are fine.
bool is_value(std::string_view text);

// The value in single quotes, as files and delta lines hold it.
std::string quoted(std::string_view value);
void append_quoted(std::string &text, std::string_view value);

// The type or package name as a file holds it: without quotes where that is possible.
std::string bare_or_quoted(std::string_view text);

} // namespace uci
