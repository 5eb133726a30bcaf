// SPDX-License-Identifier: Apache-2.0
// Putting back: whatever was played since the mark, a request does again what it did before.
#include "tests/rehearsal/play.h"

#include <cstdlib>
#include <random>

namespace {

class restore_test : public stage_test {
protected:
    void SetUp() override {
        const char *given = std::getenv("REHEARSAL_SEED");
        seed_ = given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : 20240607U;
        std::printf("REHEARSAL_SEED=%u\n", seed_);
        random_.seed(seed_);
    }

    bool one_in(int n) { return std::uniform_int_distribution<>(1, n)(random_) == 1; }

    template <typename List>
    const auto &any_of(const List &list) {
        return list[std::uniform_int_distribution<size_t>(0, std::size(list) - 1)(random_)];
    }

    std::string any_value(const table_row &row) {
        static const std::vector<std::string> odd = {"",
                                                     "0",
                                                     "1",
                                                     "none",
                                                     "x",
                                                     "a\"b",
                                                     "$(x)",
                                                     "it's",
                                                     "Ünïcode",
                                                     std::string(511, 'a'),
                                                     std::string(600, 'b')};
        return one_in(2) ? accepted_value(row) : any_of(odd);
    }

    request any_request() {
        request members;
        for (int count = std::uniform_int_distribution<>(0, 12)(random_); count > 0; --count) {
            const table_row &row = any_of(rows_);
            members[row.key] = any_value(row);
        }
        for (const char *key : {"xwf_enable", "customer_name", "image_url", "reboot_flag"})
            if (one_in(6))
                members[key] = one_in(2) ? "1" : "text";
        return members;
    }

    // A world of a random device.
    void any_world() {
        static const bool script[] = {false, true, false};
        stage_clear();
        option_list_clear(list_);
        const stage_uci uci = option_list_uci(list_);
        stage_set_uci(&uci);
        stage_set_acting(true);
        const tested_model &model = any_of(tested_models);
        set_device(model.name, model.radios);
        for (const table_row &row : rows_)
            if (!one_in(3))
                set_option(row.path, "held");
        if (one_in(3))
            stage_set_repeater(script, one_in(2) ? 1 : 3);
        if (one_in(3))
            put_file("/etc/config/xwf", "");
        else if (one_in(2))
            stage_put_late_file("/etc/config/xwf", 3);
        put_file("/tmp/dhcp.leases", "lease\n");
        *stage_integers()->batch_status = one_in(2) ? 0 : 1;
        if (one_in(2))
            stage_test::play(cloud_get, "{}");
    }

    struct turn {
        const char *route;
        request members;
    };

    turn any_turn() {
        static const char *const routes[] = {cloud_set,
                                             cloud_set,
                                             white_label_set,
                                             cloud_get,
                                             white_label_get,
                                             "/cloud/aerolink/set",
                                             "/cloud/aerolink/unbind",
                                             "/whiteboard/designated_customer"};
        return {any_of(routes), any_request()};
    }

    // Everything that a play did and left behind.
    struct outcome {
        played play;
        options configuration;
        std::vector<std::string> files;
        std::vector<int> integers;
        std::vector<std::string> keys;
        bool operator==(const outcome &) const = default;
    };

    outcome play_turn(const turn &one) {
        outcome result = {.play = stage_test::play(one.route, one.members),
                          .configuration = configuration(),
                          .files = {},
                          .integers = {*stage_integers()->batch_status, *stage_integers()->xwf_enable_flag,
                                       *stage_integers()->falcon_2g_5g_swap_done},
                          .keys = {}};
        for (const char *path : {"/tmp/reboot_flag", "/tmp/TZ", "/etc/wbf/customer", "/tmp/dhcp.leases"})
            result.files.push_back(file(path));
        for (const table_row &row : all_rows())
            result.keys.push_back(row.key);
        return result;
    }

    unsigned seed_ = 0;
    std::mt19937 random_; // NOLINT: seeded in SetUp
    std::vector<table_row> rows_ = all_rows();
};

TEST_F(restore_test, a_request_does_the_same_before_and_after_any_others) {
    for (int world = 0; world < 60; ++world) {
        any_world();
        stage_mark();
        const turn asked = any_turn();
        const outcome first = play_turn(asked);
        ASSERT_TRUE(first.play.violations.empty()) << first.play;
        for (int round = 0; round < 5; ++round) {
            stage_put_back();
            for (int others = std::uniform_int_distribution<>(0, 4)(random_); others > 0; --others)
                play_turn(any_turn());
            stage_put_back();
            const outcome again = play_turn(asked);
            ASSERT_EQ(again.play, first.play) << asked.route << ", world " << world;
            ASSERT_TRUE(again == first) << asked.route << ", world " << world;
        }
    }
}

TEST_F(restore_test, clearing_gives_the_state_of_the_loaded_plugin) {
    stage_clear();
    const std::vector<table_row> rows = all_rows();
    for (int world = 0; world < 20; ++world) {
        any_world();
        play_turn(any_turn());
        if (one_in(2))
            stage_mark();
        set_device("falcon");
        stage_test::play(cloud_get, "{}");
        stage_clear();
        EXPECT_EQ(*stage_integers()->batch_status, 1);
        EXPECT_EQ(*stage_integers()->xwf_enable_flag, 0);
        EXPECT_EQ(*stage_integers()->falcon_2g_5g_swap_done, 0);
        for (size_t row = 0; row < rows.size(); ++row)
            EXPECT_EQ(all_rows()[row].key, rows[row].key);
        size_t count = 1;
        stage_effects(&count);
        EXPECT_EQ(count, 0U);
        EXPECT_EQ(file("/tmp/dhcp.leases"), "(missing)");
    }
}

TEST_F(restore_test, the_marked_world_is_what_is_put_back) {
    set_device("heron");
    set_option("network.lan.ipaddr", "10.0.0.1");
    put_file("/kept", "content");
    put_file("/removed", "content");
    stage_put_late_file("/late", 1);
    stage_answer("true", 0, "yes\n", 4);
    stage_mark();
    for (int round = 0; round < 3; ++round) {
        set_option("network.lan.ipaddr", "10.0.0.2");
        set_option("network.lan.netmask", std::string(100000, 'x')); // more than a chunk of memory holds
        put_file("/kept", "changed");
        stage_remove_file("/removed");
        put_file("/new", std::string(100000, 'y'));
        stage_set_fault(stage_fault_popen, true);
        stage_put_back();
        EXPECT_EQ(configuration(), (options{{"network.lan.ipaddr", "10.0.0.1"},
                                            {"wireless.radio0", "wifi-device"},
                                            {"wireless.radio1", "wifi-device"}}));
        EXPECT_EQ(file("/kept"), "content");
        EXPECT_EQ(file("/removed"), "content");
        EXPECT_EQ(file("/new"), "(missing)");
        EXPECT_EQ(file("/late"), "(missing)");
        const played log = stage_test::play("/cloud/aerolink/log", "{}");
        EXPECT_EQ(log.effects[0].text.find("popen|"), 0U) << log;
        EXPECT_NE(log.effects[0].text.find("|0|0"), std::string::npos) << log;
    }
}

} // namespace
