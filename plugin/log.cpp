// SPDX-License-Identifier: Apache-2.0
// Requests and responses in the system log.
#include "plugin/log.h"

#include "plugin/hardened.h"

#include <cstring>
#include <json-c/json.h>

namespace {

void log_text(const char *name, const char *text) { syslog(LOG_INFO, "%s=%s\n", name, text); }

const char *plain_json(json_object *object) {
    return json_object_to_json_string_ext(object, JSON_C_TO_STRING_PLAIN);
}

bool ends_with(const char *text, const char *end) {
    const size_t length = strlen(text);
    const size_t end_length = strlen(end);
    return length >= end_length && strcmp(text + length - end_length, end) == 0;
}

// Pass phrases and passwords, also of members that a companion adds.
bool is_secret(const char *key) { return ends_with(key, "key") || ends_with(key, "password"); }

void mask_secrets(json_object *value);

void mask_members(json_object *object) {
    const json_object_iterator end = json_object_iter_end(object);
    for (json_object_iterator member = json_object_iter_begin(object); !json_object_iter_equal(&member, &end);
         json_object_iter_next(&member)) {
        const char *key = json_object_iter_peek_name(&member);
        if (is_secret(key))
            json_object_object_add(object, key, json_object_new_string("***"));
        else
            mask_secrets(json_object_iter_peek_value(&member));
    }
}

// As deep as a request is, which the daemon's parser bounds.
void mask_secrets(json_object *value) {
    if (json_object_is_type(value, json_type_object))
        mask_members(value);
    else if (json_object_is_type(value, json_type_array))
        for (size_t index = 0; index < json_object_array_length(value); ++index)
            mask_secrets(json_object_array_get_idx(value, index));
}

void log_masked(const char *name, json_object *object) {
    json_object *copy = nullptr;
    if (object != nullptr && json_object_deep_copy(object, &copy, nullptr) != 0) {
        log_text(name, "***");
        return;
    }
    mask_secrets(copy);
    log_text(name, plain_json(copy));
    json_object_put(copy);
}

} // namespace

void log_json(const char *name, json_object *object) {
    if (is_hardened)
        log_masked(name, object);
    else
        log_text(name, plain_json(object));
}
