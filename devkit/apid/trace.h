// SPDX-License-Identifier: Apache-2.0
// A record of what the daemon does, one JSON object a line, each with "time" (UTC, microseconds) and "kind".
#pragma once

#include <initializer_list>
#include <json-c/json.h>
#include <string>
#include <utility>

namespace apid::trace {

// Has a record kept in the file from now on; it is put aside as FILE.old when it has grown to 8 MiB.
void keep_in(const std::string &file);

// Whether a record is kept.
bool is_kept();

using members = std::initializer_list<std::pair<const char *, json_object *>>;

// Adds a line; takes the values over. What cannot be written, or does not fit into memory, is lost, and
// nothing else.
void add(const char *kind, members of) noexcept;

} // namespace apid::trace
