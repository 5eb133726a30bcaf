// SPDX-License-Identifier: Apache-2.0
// A record of what the daemon does, one JSON object a line, each with "time" (UTC, microseconds) and "kind".
#pragma once

#include <json-c/json.h>
#include <string>

namespace apid::trace {

// Has a record kept in the file from now on; it is put aside as FILE.old when it has grown to 8 MiB.
void keep_in(const std::string &file);

// Whether a record is kept.
bool is_kept();

// Adds a line; takes over the members, an object. What cannot be written is lost, and nothing else.
void add(const char *kind, json_object *members);

} // namespace apid::trace
