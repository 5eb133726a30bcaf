// SPDX-License-Identifier: Apache-2.0
// Printing of responses, the same with every version of json-c.
#include "tests/recorded/player/response.h"

#include <json-c/json.h>
#include <string.h>

enum { shortest_repetition = 64 };

static void show_plain(struct text *out, struct json_object *value) {
    const char *text =
        json_object_to_json_string_ext(value, JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
    text_show(out, text, strlen(text), notation_json);
}

static size_t repetitions(struct json_object *array, size_t start) {
    struct json_object *first = json_object_array_get_idx(array, start);
    size_t end = start + 1;
    while (end < json_object_array_length(array) &&
           json_object_equal(json_object_array_get_idx(array, end), first)) {
        end++;
    }
    return end - start;
}

static void show_array(struct text *out, struct json_object *array) {
    size_t length = json_object_array_length(array);
    for (size_t i = 0; i < length;) {
        size_t times = repetitions(array, i);
        size_t shown = times < shortest_repetition ? 1 : times;
        text_add(out, "    ");
        show_plain(out, json_object_array_get_idx(array, i));
        if (shown > 1) {
            text_format(out, " (%zu times)", shown);
        }
        i += shown;
        text_add(out, i < length ? ",\n" : "\n");
    }
}

static void show_member(struct text *out, struct json_object *value) {
    if (json_object_is_type(value, json_type_array) && json_object_array_length(value) > 0) {
        text_add(out, "[\n");
        show_array(out, value);
        text_add(out, "  ]");
    } else {
        show_plain(out, value);
    }
}

static void show_key(struct text *out, const char *key) {
    struct json_object *name = json_object_new_string(key);
    text_add(out, "  ");
    show_plain(out, name);
    text_add(out, ": ");
    json_object_put(name);
}

void response_show(struct text *out, struct json_object *response) {
    int left = json_object_object_length(response);
    if (left == 0) {
        text_add(out, "{}\n");
        return;
    }
    text_add(out, "{\n");
    json_object_object_foreach(response, key, value) {
        show_key(out, key);
        show_member(out, value);
        text_add(out, --left > 0 ? ",\n" : "\n");
    }
    text_add(out, "}\n");
}
