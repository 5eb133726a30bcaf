// SPDX-License-Identifier: Apache-2.0
// The table of meanings against the tables of the plug-in.
#include "tools/vocabulary/keys.h"

#include "platform/host.h"
#include "plugin/aerolink.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <json-c/json.h>
#include <memory>
#include <set>
#include <string>

// The plug-in asks the daemon for it.
extern "C" __attribute__((visibility("default"))) int custom_api_dispatcher(const char *, json_object *,
                                                                            json_object *) {
    return -1;
}

namespace {

using vocabulary::kind;

struct table {
    const char *name;
    size_t rows;
};

constexpr table tables[] = {
    {"batch_list_common", std::extent_v<decltype(batch_list_common)>},
    {"batch_list1", std::extent_v<decltype(batch_list1)>},
    {"batch_list2", std::extent_v<decltype(batch_list2)>},
    {"batch_list_ardea", std::extent_v<decltype(batch_list_ardea)>},
    {"batch_list_mt76x8", std::extent_v<decltype(batch_list_mt76x8)>},
    {"batch_list_mt7615", std::extent_v<decltype(batch_list_mt7615)>},
    {"batch_list_finch", std::extent_v<decltype(batch_list_finch)>},
    {"batch_list_wbf", std::extent_v<decltype(batch_list_wbf)>},
    {"batch_list_wbf1", std::extent_v<decltype(batch_list_wbf1)>},
};

struct plugin {
    void *handle = dlopen(PLUGIN, RTLD_NOW | RTLD_LOCAL);

    template <typename T>
    T symbol(const char *name) const {
        return reinterpret_cast<T>(dlsym(handle, name));
    }
};

struct release {
    void operator()(json_object *object) const { json_object_put(object); }
};

bool is_among(const char *value, const char *words) {
    return ("|" + std::string(words) + "|").find("|" + std::string(value) + "|") != std::string::npos;
}

// How the value of a column stands in a request: text as it is, everything else as JSON.
bool is_of_kind(const vocabulary::key &row, const char *value) {
    if (row.kind == kind::text)
        return *value != '\0';
    const std::unique_ptr<json_object, release> parsed(json_tokener_parse(value));
    switch (row.kind) {
    case kind::boolean:
        return json_object_is_type(parsed.get(), json_type_boolean);
    case kind::keys:
        return json_object_is_type(parsed.get(), json_type_array);
    default:
        return parsed != nullptr;
    }
}

TEST(Keys, HaveARowForEachKeyOfTheTables) {
    const plugin loaded;
    ASSERT_NE(loaded.handle, nullptr) << dlerror();
    for (const table &each : tables) {
        const auto *rows = loaded.symbol<const batch_entry *>(each.name);
        ASSERT_NE(rows, nullptr) << each.name;
        for (size_t row = 0; row < each.rows; ++row)
            EXPECT_NE(vocabulary::find_key(rows[row].json_key), nullptr)
                << each.name << " has " << rows[row].json_key;
    }
}

TEST(Keys, HaveExamplesThatPassEveryCheckOfTheTables) {
    const plugin loaded;
    ASSERT_NE(loaded.handle, nullptr) << dlerror();
    const auto matches = loaded.symbol<decltype(&regex_exe)>("regex_exe");
    for (const table &each : tables) {
        const auto *rows = loaded.symbol<const batch_entry *>(each.name);
        for (size_t row = 0; row < each.rows; ++row) {
            const vocabulary::key *key = vocabulary::find_key(rows[row].json_key);
            if (key == nullptr || rows[row].pattern == nullptr)
                continue;
            EXPECT_EQ(matches(rows[row].pattern, key->example), 1) << key->name << ": " << key->example;
            EXPECT_EQ(matches(rows[row].pattern, key->other), 1) << key->name << ": " << key->other;
        }
    }
}

TEST(Keys, StandOnceAndAreComplete) {
    std::set<std::string> names;
    std::set<std::string> titles;
    for (const vocabulary::key &row : vocabulary::keys()) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name << " stands twice";
        EXPECT_TRUE(titles.insert(row.title).second) << row.name << " has another key's title";
        EXPECT_EQ(vocabulary::find_key(row.name), &row);
        EXPECT_TRUE(std::string_view(row.description).ends_with('.')) << row.name;
        EXPECT_NE(row.unit, nullptr) << row.name;
        EXPECT_STRNE(row.example, row.other) << row.name;
        EXPECT_TRUE(is_of_kind(row, row.example)) << row.name << ": " << row.example;
        EXPECT_TRUE(is_of_kind(row, row.other)) << row.name << ": " << row.other;
        if (*row.words != '\0') {
            EXPECT_TRUE(is_among(row.example, row.words)) << row.name << ": " << row.words;
            EXPECT_TRUE(is_among(row.other, row.words)) << row.name << ": " << row.words;
        }
        EXPECT_NE(*to_text(row.group), '\0') << row.name;
        EXPECT_NE(*to_text(row.kind), '\0') << row.name;
    }
    EXPECT_FALSE(names.empty());
    EXPECT_EQ(vocabulary::find_key("no such key"), nullptr);
}

} // namespace
