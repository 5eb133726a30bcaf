// SPDX-License-Identifier: Apache-2.0
// Every effect knows the key whose row was being applied: the law is that a request of one key does what the
// empty request does, and more, and that what is more carries the key.
#include "tests/rehearsal/play.h"

#include <algorithm>

namespace {

// What the key makes of the empty request outside of every row: the end of a batch, and the customer file.
const std::set<std::string> with_other_effects = {"reboot_flag", "customer_name", "help_url", "image_url",
                                                  "xwf_enable"};

class keys_test : public stage_test {
protected:
    // A device on which every option that a table names holds a value.
    void set_full_device(const tested_model &model) {
        option_list_clear(list_);
        set_device(model.name, model.radios);
        for (const table_row &row : all_rows())
            set_option(row.path, "held");
    }

    // Plays the request in the world as it is now, and leaves it so.
    static played play_aside(const char *route, const request &members) {
        stage_mark();
        played play = stage_test::play(route, members);
        stage_put_back();
        return play;
    }

    // The effects without a key, but for the log of the request itself.
    static std::vector<std::string> outside_of_rows(const played &play) {
        std::vector<std::string> texts;
        for (const effect &one : play.effects)
            if (!one.key && !one.text.starts_with("log|input="))
                texts.push_back(one.text);
        return texts;
    }

    // How many effects carry the key; the others are those of the empty request.
    static size_t check_key(const char *route, const table_row &row, const played &empty) {
        const played play = play_aside(route, {{row.key, accepted_value(row)}});
        EXPECT_TRUE(play.violations.empty()) << play;
        size_t keyed = 0;
        for (const effect &one : play.effects) {
            keyed += one.key.has_value();
            EXPECT_EQ(one.key.value_or(row.key), row.key) << play;
        }
        if (!with_other_effects.contains(row.key)) {
            EXPECT_EQ(outside_of_rows(play), outside_of_rows(empty)) << play;
        }
        return keyed;
    }

    // Plays each key of every table; those that had an effect at their row.
    std::set<std::string> keys_with_effect(const char *route) {
        const played empty = play_aside(route, {});
        std::set<std::string> keys;
        for (const table_row &row : all_rows()) {
            SCOPED_TRACE(model_ + ' ' + route + ' ' + row.key);
            if (check_key(route, row, empty) > 0)
                keys.insert(row.key);
        }
        return keys;
    }
};

std::set<std::string> keys_of(const std::set<std::string> &tables) {
    std::set<std::string> keys;
    for (const table_row &row : all_rows())
        if (tables.contains(row.table))
            keys.insert(row.key);
    return keys;
}

const std::map<std::string, std::string> cloud_tables = {
    {"heron", "batch_list_ardea"},   {"egret", "batch_list_ardea"},   {"crane", "batch_list_ardea"},
    {"falcon", "batch_list_ardea"},  {"plover", "batch_list_mt76x8"}, {"plover-v2", "batch_list_mt76x8"},
    {"linnet", "batch_list_mt76x8"}, {"wren", "batch_list_mt7615"},   {"finch", "batch_list_finch"},
    {"osprey", "batch_list1"},       {"lark", "batch_list1"},         {"sandpiper", "batch_list2"},
};

TEST_F(keys_test, every_key_of_a_cloud_push_has_its_effects) {
    for (const tested_model &model : tested_models) {
        set_full_device(model);
        EXPECT_EQ(keys_with_effect(cloud_set), keys_of({"batch_list_common", cloud_tables.at(model.name)}))
            << model.name;
    }
}

TEST_F(keys_test, keys_of_unset_options_have_their_effects_alone) {
    for (const tested_model &model : tested_models) {
        option_list_clear(list_);
        set_device(model.name, model.radios);
        const std::set<std::string> keys = keys_with_effect(cloud_set);
        EXPECT_TRUE(std::ranges::includes(keys, keys_of({"batch_list_common"}))) << model.name;
        EXPECT_FALSE(keys.contains("2g_ssid")) << model.name; // an empty option with a check stays empty
    }
}

TEST_F(keys_test, every_key_of_a_white_label_request_that_has_effects_has_them_at_its_row) {
    for (const tested_model &model : tested_models) {
        set_full_device(model);
        const std::set<std::string> keys = keys_with_effect(white_label_set);
        EXPECT_TRUE(std::ranges::includes(keys, keys_of({"batch_list_common"}))) << model.name;
        for (const char *key : {"2g_ssid", "2g_key", "2g_htmode", "2g_txpower", "2g_disable", "password"})
            EXPECT_TRUE(keys.contains(key)) << model.name << ' ' << key;
        EXPECT_FALSE(keys.contains("help_url")) << model.name; // the customer file's
    }
}

TEST_F(keys_test, a_falcons_effects_carry_the_key_of_the_request_before_and_after_its_bands_are_swapped) {
    set_full_device({"falcon", 2});
    const auto ssid_path = [](const char *key) {
        for (const effect &one : play_aside(cloud_set, {{key, "Name"}}).effects)
            if (one.key == key)
                return one.text;
        return std::string("none");
    };
    const std::string before_2g = ssid_path("2g_ssid");
    const std::string before_5g = ssid_path("5g_ssid");
    stage_test::play(cloud_get, "{}");
    EXPECT_NE(before_2g, before_5g);
    EXPECT_EQ(ssid_path("2g_ssid"), before_5g);
    EXPECT_EQ(ssid_path("5g_ssid"), before_2g);
    const std::set<std::string> keys = keys_with_effect(cloud_set);
    EXPECT_EQ(keys, keys_of({"batch_list_common", "batch_list_ardea"}));
}

TEST_F(keys_test, in_a_request_of_all_keys_each_effect_carries_the_key_of_its_value) {
    for (const tested_model &model : tested_models)
        for (const char *route : {cloud_set, white_label_set}) {
            set_full_device(model);
            request members;
            for (const table_row &row : all_rows())
                if (row.pattern == nullptr)
                    members[row.key] = "value of " + row.key + ".";
            for (const effect &one : play_aside(route, members).effects)
                for (const auto &[key, value] : members) {
                    if (one.key && one.text.find('|' + value + '|') != std::string::npos) {
                        EXPECT_EQ(*one.key, key) << one.text;
                    }
                }
        }
}

} // namespace
