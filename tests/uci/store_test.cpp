// SPDX-License-Identifier: Apache-2.0
// The store on the disk: what one store records, every other reads, and concurrent ones lose nothing.
#include "devkit/uci/error.h"
#include "devkit/uci/store.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <thread>

namespace {

namespace fs = std::filesystem;

class store_test : public testing::Test {
protected:
    void SetUp() override {
        std::string name = fs::temp_directory_path() / "uci-store-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        root_ = name;
        fs::create_directory(root_ / "config");
        write("config/net", "config interface lan\n\tlist dns 1\nconfig rule\n");
    }

    void TearDown() override { fs::remove_all(root_); }

    void write(const char *name, const std::string &text) const { std::ofstream(root_ / name) << text; }

    std::string read(const char *name) const {
        std::ifstream source(root_ / name);
        return {std::istreambuf_iterator<char>(source), std::istreambuf_iterator<char>()};
    }

    uci::store open() const { return uci::store({root_ / "config", root_ / "delta"}); }

    static void set(const uci::store &store, const std::string &text) {
        store.record(uci::action::set, uci::parse_path(text));
    }

    fs::path root_;
};

TEST_F(store_test, recorded_is_read_by_every_store) {
    set(open(), "net.lan.proto=static");
    EXPECT_EQ(open().load("net").find("lan")->find("proto")->values.front(), "static");
    EXPECT_EQ(read("config/net").find("static"), std::string::npos);
    open().commit("net");
    EXPECT_NE(read("config/net").find("\toption proto 'static'\n"), std::string::npos);
    EXPECT_EQ(read("delta/net"), "");
}

TEST_F(store_test, a_change_that_fails_leaves_no_line) {
    EXPECT_THROW(set(open(), "net.nosuch.a=1"), uci::invalid_argument);
    EXPECT_THROW(set(open(), "nosuch.lan.a=1"), uci::not_found);
    EXPECT_THROW(set(open(), "net.lan.a=\x01"), uci::invalid_argument);
    EXPECT_THROW(open().record(uci::action::remove, uci::parse_path("net.lan.a")), uci::not_found);
    EXPECT_EQ(read("delta/net"), "");
}

TEST_F(store_test, packages_are_sorted_and_valid) {
    for (const char *name : {"config/b", "config/a", "config/a.bak", "config/.a", "config/\xc3\xa9"})
        write(name, "");
    fs::create_directory(root_ / "config/folder");
    EXPECT_EQ(open().packages(), (std::vector<std::string>{"a", "b", "net"}));
}

TEST_F(store_test, one_folder_for_both_is_refused) {
    EXPECT_THROW(uci::store({root_ / "config", root_ / "config/../config"}), uci::invalid_argument);
}

TEST_F(store_test, threads_lose_nothing) {
    constexpr int threads = 4;
    constexpr int changes = 40;
    const auto work = [this](int number) {
        const uci::store mine = open();
        for (int step = 0; step < changes; ++step) {
            mine.record(uci::action::list_add,
                        uci::parse_path("net.lan.l" + std::to_string(number) + "=" + std::to_string(step)));
            mine.add("net", "made");
            if (step % 4 == number)
                mine.commit("net");
        }
    };
    std::vector<std::thread> running;
    for (int number = 0; number < threads; ++number)
        running.emplace_back(work, number);
    for (std::thread &each : running)
        each.join();

    std::vector<std::string> expected;
    for (int step = 0; step < changes; ++step)
        expected.push_back(std::to_string(step));
    uci::package content = open().load("net");
    for (int number = 0; number < threads; ++number)
        EXPECT_EQ(content.find("lan")->find("l" + std::to_string(number))->values, expected) << number;
    EXPECT_EQ(content.count("made"), static_cast<size_t>(threads * changes));
}

} // namespace
