// SPDX-License-Identifier: Apache-2.0
// JSON in and out.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <json-c/json.h>

namespace plan {

struct json_release {
    void operator()(json_object *object) const { json_object_put(object); }
};
using json_owner = std::unique_ptr<json_object, json_release>;

// What the JSON is read for: a request, as the daemon reads one with all that json-c makes of it, or a
// device, perhaps with its own request, as it is meant. The files of a device may hold NULs.
enum class json_use { request, device };

// Parses exactly one value, and takes what the daemon takes. Throws input_error, which names line and column.
json_owner parse_json(std::string_view text, json_use use);

// The text of a string, NULs included.
std::string_view text_of(json_object *string);

// Appends the text as a JSON string; bytes that are no UTF-8 become U+FFFD.
void append_json(std::string &out, std::string_view text);

// An answer's JSON text, in UTF-8 whatever an option of the device holds: other bytes become U+FFFD.
std::string answer_of(json_object *response);

} // namespace plan
