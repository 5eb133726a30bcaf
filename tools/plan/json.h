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

// Parses exactly one value; text that is no UTF-8 is refused. Throws input_error, which names line and
// column.
json_owner parse_json(std::string_view text);

// The text of a string, NULs included.
std::string_view text_of(json_object *string);

// Appends the text as a JSON string; bytes that are no UTF-8 become U+FFFD.
void append_json(std::string &out, std::string_view text);

// An answer's JSON text, in UTF-8 whatever an option of the device holds: other bytes become U+FFFD.
std::string answer_of(json_object *response);

// The text with U+FFFD for bytes that are no UTF-8.
std::string valid_utf8(std::string_view text);

// The length of the UTF-8 character that the text begins with; 0 when it begins with none.
size_t utf8_length(std::string_view text);

} // namespace plan
