// SPDX-License-Identifier: Apache-2.0
// Requests as JSON objects.
#pragma once

#include <json-c/json.h>
#include <memory>
#include <string_view>

namespace apid {

struct json_release {
    void operator()(json_object *object) const { json_object_put(object); }
};
using json_ptr = std::unique_ptr<json_object, json_release>;

// What is made and added through these is there: they throw std::bad_alloc where memory is short.
json_ptr new_object();
json_ptr new_text(std::string_view text);
json_ptr new_number(int number);
void add_member(json_object *object, const char *key, json_ptr value);

// The object's text, kept by it.
std::string_view to_text(json_object *object, int flags);

constexpr int max_nesting = 32; // objects and arrays around a value

// The object that the text is, in strict JSON with nothing but white space around it; null when it is no such
// thing or nested too deeply. Throws std::bad_alloc.
json_ptr parse_object(std::string_view text);

// The object that a query stands for: each parameter "name" becomes an element of the array "name", any other
// key a string, whose last value counts. Null when a parameter is not UTF-8. Throws std::bad_alloc.
json_ptr parse_query(std::string_view query);

} // namespace apid
