// SPDX-License-Identifier: Apache-2.0
// JSON helpers.
#include "platform/zuutil.h"

#include <gtest/gtest.h>
#include <json-c/json.h>
#include <memory>

namespace {

using json = std::unique_ptr<json_object, decltype(&json_object_put)>;

json parse(const char *text) { return {json_tokener_parse(text), &json_object_put}; }

std::string text_of(const json &object) {
    return json_object_to_json_string_ext(object.get(), JSON_C_TO_STRING_PLAIN);
}

TEST(zjson, get_string) {
    const json object = parse(R"({"s":"text","e":"","n":null,"i":7,"b":true,"a":[1],"o":{"x":1}})");
    const struct {
        const char *key;
        const char *text; // null: null
    } rows[] = {{"s", "text"}, {"e", ""},     {"n", nullptr}, {"none", nullptr},
                {"i", "7"},    {"b", "true"}, {"a", "[ 1 ]"}, {"o", R"({ "x": 1 })"}};
    for (const auto &row : rows)
        EXPECT_STREQ(zjson_get_string(object.get(), row.key), row.text) << row.key;
}

TEST(zjson, get_boolean) {
    const json object = parse(R"({"t":true,"f":false,"n":null,"i":2,"z":0})");
    const struct {
        const char *key;
        int value;
    } rows[] = {{"t", 1}, {"f", 0}, {"n", 0}, {"none", 0}, {"i", 1}, {"z", 0}};
    for (const auto &row : rows)
        EXPECT_EQ(zjson_get_boolean(object.get(), row.key), row.value) << row.key;
}

TEST(zjson, contain_key) {
    const json object = parse(R"({"f":false,"n":null})");
    EXPECT_EQ(zjson_contain_key(object.get(), "f"), 1);
    EXPECT_EQ(zjson_contain_key(object.get(), "n"), 1);
    EXPECT_EQ(zjson_contain_key(object.get(), "none"), 0);
}

TEST(zjson, adding_appends_or_replaces_in_place) {
    const json object = parse(R"({"a":1,"b":[2],"c":"3"})");
    zjson_add_string(object.get(), "b", "two");
    zjson_add_int(object.get(), "d", -4);
    zjson_add_boolean(object.get(), "a", 5);
    zjson_add_object(object.get(), "c", json_object_new_array());
    zjson_add_boolean(object.get(), "e", 0);
    zjson_add_string(object.get(), "f", nullptr);
    EXPECT_EQ(text_of(object), R"({"a":true,"b":"two","c":[],"d":-4,"e":false,"f":null})");
}

TEST(zjson, strings_are_copied) {
    const json object = parse("{}");
    const json array = parse("[]");
    std::string text = "one";
    zjson_add_string(object.get(), "a", text.c_str());
    zjson_array_add_string(array.get(), text.c_str());
    text = "two";
    zjson_array_add_string(array.get(), text.c_str());
    EXPECT_EQ(text_of(object), R"({"a":"one"})");
    EXPECT_EQ(text_of(array), R"(["one","two"])");
}

// What cannot be added is released all the same.
TEST(zjson, null_and_wrong_types_are_harmless) {
    const json array = parse("[]");
    for (json_object *object : {static_cast<json_object *>(nullptr), array.get()}) {
        zjson_add_string(object, "a", "1");
        zjson_add_int(object, "a", 1);
        zjson_add_boolean(object, "a", 1);
        zjson_add_object(object, "a", json_object_new_object());
        EXPECT_EQ(zjson_get_string(object, "a"), nullptr);
        EXPECT_EQ(zjson_get_boolean(object, "a"), 0);
        EXPECT_EQ(zjson_contain_key(object, "a"), 0);
    }
    const json object = parse("{}");
    zjson_add_object(object.get(), nullptr, json_object_new_object());
    EXPECT_EQ(zjson_get_string(object.get(), nullptr), nullptr);
    EXPECT_EQ(zjson_contain_key(object.get(), nullptr), 0);
    zjson_array_add_string(object.get(), "1");
    zjson_array_add_string(nullptr, "1");
    EXPECT_EQ(text_of(object), "{}");
    EXPECT_EQ(text_of(array), "[]");
}

} // namespace
