// SPDX-License-Identifier: Apache-2.0
// JSON helpers.
#include "platform/zuutil.h"
#include "tests/conformance/program/contract.h"

#include <json-c/json.h>
#include <string.h>

#define COUNT(array) (sizeof(array) / sizeof *(array))

static const char members[] = "{\"s\":\"text\",\"e\":\"\",\"n\":null,\"i\":7,\"t\":true,\"f\":false,"
                              "\"a\":[1,\"x\"],\"o\":{\"y\":2}}";

static void expect_json(json_object *object, const char *expected) {
    expect_text("the JSON text", json_object_to_json_string_ext(object, JSON_C_TO_STRING_PLAIN), expected);
}

static void expect_json_text(json_object *object, const char *key) {
    const char *text = zjson_get_string(object, key);
    json_object *parsed = text != NULL ? json_tokener_parse(text) : NULL;
    if (!json_object_equal(parsed, json_object_object_get(object, key)))
        fail("\"%s\" gives \"%s\", which is not its JSON text", key, text != NULL ? text : "(null)");
    json_object_put(parsed);
}

static void check_get_string(void) {
    json_object *object = json_tokener_parse(members);
    const char *text = zjson_get_string(object, "s");
    expect_text("\"s\"", text, "text");
    expect_text("\"e\"", zjson_get_string(object, "e"), "");
    expect_text("\"s\" after another call", text, "text");
    json_object_put(object);
}

static void check_get_string_missing(void) {
    json_object *object = json_tokener_parse(members);
    if (zjson_get_string(object, "none") != NULL)
        fail("a missing member is not null");
    if (zjson_get_string(object, "n") != NULL)
        fail("JSON null is not null");
    json_object_put(object);
}

static void check_get_string_other(void) {
    static const char *const keys[] = {"i", "t", "f", "a", "o"};
    json_object *object = json_tokener_parse(members);
    for (size_t i = 0; i < COUNT(keys); ++i)
        expect_json_text(object, keys[i]);
    json_object_put(object);
}

static void check_get_boolean(void) {
    json_object *object = json_tokener_parse(members);
    expect_int("true", zjson_get_boolean(object, "t"), 1);
    expect_int("false", zjson_get_boolean(object, "f"), 0);
    expect_int("a missing member", zjson_get_boolean(object, "none"), 0);
    json_object_put(object);
}

static void check_contain_key(void) {
    json_object *object = json_tokener_parse(members);
    expect_int("a member", zjson_contain_key(object, "s"), 1);
    expect_int("the member false", zjson_contain_key(object, "f"), 1);
    expect_int("the member null", zjson_contain_key(object, "n"), 1);
    expect_int("a missing member", zjson_contain_key(object, "none"), 0);
    json_object_put(object);
}

static void check_add_string(void) {
    json_object *object = json_tokener_parse("{\"a\":1,\"b\":2,\"c\":3}");
    char text[] = "copied";
    zjson_add_string(object, "b", text);
    zjson_add_string(object, "d", "added");
    memset(text, '!', strlen(text));
    expect_json(object, "{\"a\":1,\"b\":\"copied\",\"c\":3,\"d\":\"added\"}");
    json_object_put(object);
}

static void check_add_int(void) {
    json_object *object = json_tokener_parse("{\"a\":\"x\",\"b\":2}");
    zjson_add_int(object, "a", -4);
    zjson_add_int(object, "c", 2147483647);
    expect_json(object, "{\"a\":-4,\"b\":2,\"c\":2147483647}");
    json_object_put(object);
}

static void check_add_boolean(void) {
    json_object *object = json_tokener_parse("{\"a\":\"x\",\"b\":2}");
    zjson_add_boolean(object, "a", 1);
    zjson_add_boolean(object, "c", 0);
    expect_json(object, "{\"a\":true,\"b\":2,\"c\":false}");
    json_object_put(object);
}

static void check_add_object(void) {
    json_object *object = json_tokener_parse("{\"a\":\"x\",\"b\":2}");
    json_object *value = json_object_get(json_tokener_parse("[5]")); // one reference to give, one to keep
    zjson_add_object(object, "a", value);
    expect_json(object, "{\"a\":[5],\"b\":2}");
    json_object_put(object);
    if (json_object_put(value) != 1)
        fail("the caller's reference is not taken over");
}

static void check_array_add_string(void) {
    json_object *array = json_tokener_parse("[\"first\"]");
    char text[] = "copied";
    zjson_array_add_string(array, text);
    memset(text, '!', strlen(text));
    zjson_array_add_string(array, "last");
    expect_json(array, "[\"first\",\"copied\",\"last\"]");
    json_object_put(array);
}

// clang-format off
static const struct contract contracts[] = {
    {"zjson_get_string",       "gives a member's text, which stays the object's",              check_get_string},
    {"zjson_get_string",       "gives null for a missing member and for JSON null",            check_get_string_missing},
    {"zjson_get_string",       "gives the JSON text of what is no string",                     check_get_string_other},
    {"zjson_get_boolean",      "gives 1 or 0; a missing member is 0",                          check_get_boolean},
    {"zjson_contain_key",      "gives 1 for a member of any value, else 0",                    check_contain_key},
    {"zjson_add_string",       "adds a copy, or replaces a value in its place",                check_add_string},
    {"zjson_add_int",          "adds a number, or replaces a value in its place",              check_add_int},
    {"zjson_add_boolean",      "adds a boolean, or replaces a value in its place",             check_add_boolean},
    {"zjson_add_object",       "takes over the reference, or replaces a value in its place",   check_add_object},
    {"zjson_array_add_string", "appends a copy",                                               check_array_add_string},
};
// clang-format on

const struct contract_list json_contracts = {contracts, COUNT(contracts)};
