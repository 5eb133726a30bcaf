// SPDX-License-Identifier: Apache-2.0
// What the routes ask requests for, against the table of meanings: every route on every model, in worlds and
// with requests that make each branch ask.
#include "tools/plan/factory.h"
#include "tools/plan/json.h"
#include "tools/plan/rehearsal.h"
#include "tools/vocabulary/keys.h"

#include <algorithm>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <json-c/json.h>
#include <set>
#include <string>
#include <vector>

namespace {

using plan::json_owner;
using plan::variation;

std::set<std::string> asked_of_json; // by the plug-in itself, past the platform's helpers

bool is_plugins(const void *caller) {
    Dl_info place{};
    return dladdr(caller, &place) != 0 && std::string_view(place.dli_fname).ends_with("/aerolink.so");
}

void note(const void *caller, const char *key) {
    if (is_plugins(caller))
        asked_of_json.insert(key);
}

} // namespace

// The plug-in finds these before json-c's own, to which they go on.
extern "C" __attribute__((visibility("default"))) json_object *
json_object_object_get(const json_object *object, const char *key) {
    note(__builtin_return_address(0), key);
    json_object *value = nullptr;
    const auto next =
        reinterpret_cast<decltype(&json_object_object_get_ex)>(dlsym(RTLD_NEXT, "json_object_object_get_ex"));
    next(object, key, &value);
    return value;
}

extern "C" __attribute__((visibility("default"))) json_bool
json_object_object_get_ex(const json_object *object, const char *key, json_object **value) {
    note(__builtin_return_address(0), key);
    static const auto next =
        reinterpret_cast<decltype(&json_object_object_get_ex)>(dlsym(RTLD_NEXT, "json_object_object_get_ex"));
    return next(object, key, value);
}

namespace {

// --- Requests

std::vector<std::string> words_of(const vocabulary::key &row) {
    std::vector<std::string> words;
    for (std::string_view rest = row.words; !rest.empty();) {
        const std::string_view word = rest.substr(0, rest.find('|'));
        words.emplace_back(word);
        rest.remove_prefix(std::min(word.size() + 1, rest.size()));
    }
    return words;
}

json_owner text(const std::string &value) { return json_owner(json_object_new_string(value.c_str())); }

// What a key is tried with: what it takes, and what it does not.
std::vector<json_owner> values_of(const vocabulary::key &row) {
    std::vector<json_owner> values;
    for (const char *column : {row.example, row.other})
        values.push_back(row.kind == vocabulary::kind::text
                             ? text(column)
                             : plan::parse_json(column, plan::json_use::request));
    for (const std::string &word : words_of(row))
        values.push_back(text(word));
    for (const char *other : {"", "x", "0", "1"})
        values.push_back(text(other));
    values.push_back(text(std::string(600, 'x')));
    values.emplace_back(nullptr);
    return values;
}

using request = std::vector<std::pair<const char *, json_object *>>;

json_owner object_of(const request &members) {
    json_owner object(json_object_new_object());
    for (const auto &[key, value] : members)
        json_object_object_add(object.get(), key, json_object_get(value));
    return object;
}

struct vocabulary_values {
    std::vector<std::pair<const char *, std::vector<json_owner>>> keys;

    vocabulary_values() {
        for (const vocabulary::key &row : vocabulary::keys())
            keys.emplace_back(row.name, values_of(row));
    }

    // Every key with its value of this number, or its last one.
    request all(size_t number) const {
        request members;
        for (const auto &[key, values] : keys)
            members.emplace_back(key, values[std::min(number, values.size() - 1)].get());
        return members;
    }

    size_t most() const {
        size_t most = 0;
        for (const auto &[key, values] : keys)
            most = std::max(most, values.size());
        return most;
    }
};

std::vector<json_owner> with_everything(const vocabulary_values &known) {
    std::vector<json_owner> requests;
    for (size_t number = 0; number < known.most(); ++number)
        requests.push_back(object_of(known.all(number)));
    requests.push_back(object_of({}));
    return requests;
}

std::vector<json_owner> with_and_without_each(const vocabulary_values &known) {
    std::vector<json_owner> requests;
    const request all = known.all(0);
    for (const auto &member : all) {
        requests.push_back(object_of({member}));
        request others = all;
        std::erase(others, member);
        requests.push_back(object_of(others));
    }
    return requests;
}

// --- Worlds

std::vector<plan::snapshot> devices() {
    std::vector<plan::snapshot> all;
    for (const plan::factory_profile &profile : plan::factory_profiles()) {
        plan::snapshot plain = *plan::from_factory(profile.model);
        plan::snapshot busy = plain;
        busy.repeater = busy.reboot_pending = busy.full_read_done = true;
        busy.internet = false;
        busy.companion = plan::companion_state::installed;
        plan::snapshot bare = plain;
        bare.packages.clear();
        for (plan::snapshot *each : {&plain, &busy, &bare})
            all.push_back(std::move(*each));
    }
    return all;
}

variation filled() {
    variation other{.repeater_down = true, .internet_up = true, .filled = {}};
    size_t count = 0;
    const stage_table *first = stage_tables(&count);
    for (const stage_table &table : std::span(first, count))
        for (const batch_entry &row : std::span(table.rows, table.row_count))
            other.filled.emplace_back(row.uci_path);
    return other;
}

// --- Asking

std::vector<api_entity> routes() {
    stage_begin();
    uint32_t count = 0;
    const api_entity *rows = stage_functions()->get_api_entity(&count);
    stage_end();
    return {rows, rows + count};
}

class asking {
public:
    void ask(const std::vector<json_owner> &requests, const variation &other) {
        for (const api_entity &route : routes())
            for (const json_owner &each : requests) {
                stage_.play(route.handler, each.get(), other);
                for (const char *key : stage_.asked_for())
                    asked.insert(key);
            }
    }

    void ask_all() {
        const vocabulary_values known;
        const std::vector<json_owner> whole = with_everything(known);
        const std::vector<json_owner> partial = with_and_without_each(known);
        const variation all_filled = filled();
        for (const plan::snapshot &device : devices()) {
            stage_.set_device(device);
            ask(whole, {});
            ask(whole, all_filled);
            ask(partial, {});
        }
    }

    std::set<std::string> asked;

private:
    plan::rehearsal stage_{PLUGIN, COMPANION};
};

TEST(Routes, AskForEveryKeyOfTheTableAndForNoOther) {
    asking all;
    all.ask_all();
    std::set<std::string> asked = all.asked;
    asked.merge(asked_of_json);
    EXPECT_TRUE(asked.contains("name")) << "the interposed functions are not asked";
    for (const std::string &key : asked)
        EXPECT_NE(vocabulary::find_key(key), nullptr) << "a route asks for " << key;
    for (const vocabulary::key &row : vocabulary::keys())
        EXPECT_TRUE(asked.contains(row.name)) << "no route asks for " << row.name;
}

} // namespace
