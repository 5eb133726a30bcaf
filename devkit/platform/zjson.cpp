// SPDX-License-Identifier: Apache-2.0
// Short hands for the members of JSON objects.
#include "devkit/platform/interface.h"

#include <json-c/json.h>

namespace {

// The member; null when it is missing or JSON null.
json_object *member(json_object *object, const char *key) {
    json_object *found = nullptr;
    if (key != nullptr)
        json_object_object_get_ex(object, key, &found);
    return found;
}

// Takes over the value, also where it cannot be added.
void add(json_object *object, const char *key, json_object *value) {
    if (key == nullptr || !json_object_is_type(object, json_type_object) ||
        json_object_object_add(object, key, value) != 0)
        json_object_put(value);
}

json_object *new_string(const char *text) {
    return text == nullptr ? nullptr : json_object_new_string(text); // null: JSON null
}

} // namespace

const char *zjson_get_string(json_object *object, const char *key) {
    return json_object_get_string(member(object, key));
}

int zjson_get_boolean(json_object *object, const char *key) {
    return json_object_get_boolean(member(object, key)) ? 1 : 0;
}

int zjson_contain_key(json_object *object, const char *key) {
    return key != nullptr && json_object_object_get_ex(object, key, nullptr) ? 1 : 0;
}

void zjson_add_string(json_object *object, const char *key, const char *value) {
    add(object, key, new_string(value));
}

void zjson_add_int(json_object *object, const char *key, int value) {
    add(object, key, json_object_new_int(value));
}

void zjson_add_boolean(json_object *object, const char *key, int value) {
    add(object, key, json_object_new_boolean(value != 0));
}

void zjson_add_object(json_object *object, const char *key, json_object *value) { add(object, key, value); }

void zjson_array_add_string(json_object *array, const char *value) {
    json_object *text = new_string(value);
    if (!json_object_is_type(array, json_type_array) || json_object_array_add(array, text) != 0)
        json_object_put(text);
}
