// SPDX-License-Identifier: Apache-2.0
// Requests that an input describes.
#include "tests/fuzz/requests.h"

#include "tests/fuzz/texts.h"
#include "tools/vocabulary/keys.h"

#include <string>

namespace fuzz {

namespace {

json_object *string_of(const std::string &text) {
    return json_object_new_string_len(text.data(), static_cast<int>(text.size()));
}

const vocabulary::key &draw_key(bytes &input) {
    return vocabulary::keys()[input.below(vocabulary::keys().size())];
}

json_object *array_of_keys(bytes &input) {
    json_object *array = json_object_new_array();
    for (size_t count = input.below(6); count != 0; --count)
        json_object_array_add(array, input.below(8) == 0 ? string_of(draw_text(input))
                                                         : json_object_new_string(draw_key(input).name));
    return array;
}

json_object *nested(bytes &input) {
    json_object *object = json_object_new_object();
    json_object_object_add(object, draw_key(input).name, string_of(draw_text(input)));
    return object;
}

// Any value, texts and the key's own examples most often.
json_object *draw_value(bytes &input, const vocabulary::key &key) {
    const bool is_json = key.kind != vocabulary::kind::text;
    switch (input.below(16)) {
    case 0:
        return nullptr; // JSON null
    case 1:
        return json_object_new_boolean(input.flip());
    case 2:
        return json_object_new_int64(static_cast<int64_t>(input.next()) - 128);
    case 3:
        return json_object_new_double(static_cast<double>(input.next()) / 3);
    case 4:
        return array_of_keys(input);
    case 5:
        return nested(input);
    case 6:
    case 7:
    case 8:
    case 9:
        return is_json ? json_tokener_parse(key.example) : json_object_new_string(key.example);
    case 10:
        return is_json ? json_tokener_parse(key.other) : json_object_new_string(key.other);
    default:
        return string_of(draw_text(input));
    }
}

void add_group(json_object *request, size_t number) {
    for (const vocabulary::key &key : vocabulary::keys())
        if (static_cast<size_t>(key.group) == number)
            json_object_object_add(request, key.name,
                                   key.kind == vocabulary::kind::text ? json_object_new_string(key.example)
                                                                      : json_tokener_parse(key.example));
}

} // namespace

json draw_request(bytes &input) {
    json request(json_object_new_object());
    if (const size_t group = input.below(24); group <= static_cast<size_t>(vocabulary::group::reading))
        add_group(request.get(), group);
    for (size_t count = input.below(7); count != 0; --count) {
        const vocabulary::key &key = draw_key(input);
        const bool is_known = input.below(16) != 0;
        json_object *value = draw_value(input, key);
        json_object_object_add(request.get(), is_known ? key.name : draw_text(input).c_str(), value);
    }
    if (input.below(4) == 0)
        json_object_object_add(request.get(), "name",
                               input.below(8) == 0 ? string_of(draw_text(input)) : array_of_keys(input));
    return request;
}

} // namespace fuzz
