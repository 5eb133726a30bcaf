// SPDX-License-Identifier: Apache-2.0
// Steps under one lock: each sees what the ones before it did, and everything is written at the end.
#include "devkit/uci/error.h"
#include "devkit/uci/store.h"
#include "devkit/uci/transaction.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <gtest/gtest.h>
#include <iterator>

namespace {

namespace fs = std::filesystem;
using uci::action;
using uci::parse_path;

class transaction_test : public testing::Test {
protected:
    void SetUp() override {
        std::string name = fs::temp_directory_path() / "uci-transaction-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        root_ = name;
        fs::create_directory(root_ / "config");
        write("config/net", "config interface lan\n");
        write("config/other", "config t s\n");
    }

    void TearDown() override { fs::remove_all(root_); }

    void write(const char *name, const std::string &text) const { std::ofstream(root_ / name) << text; }

    std::string read(const char *name) const {
        std::ifstream source(root_ / name);
        return {std::istreambuf_iterator<char>(source), std::istreambuf_iterator<char>()};
    }

    uci::folders folders() const { return {root_ / "config", root_ / "delta"}; }

    uci::transaction begin() const { return {folders(), uci::file::access::exclusive}; }

    static void set(uci::transaction &work, const char *text) { work.record(action::set, parse_path(text)); }

    fs::path root_;
};

TEST_F(transaction_test, writes_at_the_end) {
    uci::transaction work = begin();
    set(work, "net.lan.a=1");
    set(work, "other.s.a=1");
    set(work, "net.lan.a=2");
    EXPECT_EQ(work.read("net").find("lan")->find("a")->values.front(), "2");
    EXPECT_EQ(work.recorded("net").size(), 2U);
    EXPECT_EQ(read("delta/net") + read("delta/other"), "");
    work.end();
    EXPECT_EQ(read("delta/net"), "net.lan.a='1'\nnet.lan.a='2'\n");
    EXPECT_EQ(read("delta/other"), "other.s.a='1'\n");
}

TEST_F(transaction_test, nothing_is_written_without_its_end) {
    {
        uci::transaction work = begin();
        set(work, "net.lan.a=1");
    }
    EXPECT_EQ(read("delta/net"), "");
}

TEST_F(transaction_test, a_step_that_fails_takes_no_other_with_it) {
    uci::transaction work = begin();
    set(work, "net.lan.a=1");
    EXPECT_THROW(set(work, "net.nosuch.a=1"), uci::invalid_argument);
    EXPECT_THROW(set(work, "nosuch.lan.a=1"), uci::not_found);
    EXPECT_THROW(work.merge("net", "config t x\n\toption a 1\nbad"), uci::parse_error);
    EXPECT_THROW(work.add("net", "two words"), uci::parse_error);
    set(work, "net.lan.b=1");
    work.end();
    EXPECT_EQ(read("delta/net"), "net.lan.a='1'\nnet.lan.b='1'\n");
    EXPECT_FALSE(work.has_lost_changes());
}

TEST_F(transaction_test, a_commit_needs_no_delta) {
    uci::transaction work = begin();
    set(work, "net.lan.a=1");
    work.commit("net");
    EXPECT_EQ(read("config/net"), "\nconfig interface 'lan'\n\toption a '1'\n\n");
    set(work, "net.lan.a=2");
    work.end();
    EXPECT_EQ(read("delta/net"), "net.lan.a='2'\n");
}

TEST_F(transaction_test, what_cannot_be_written_is_told) {
    uci::transaction work = begin();
    set(work, "net.lan.a=1");
    fs::create_directory(root_ / "delta" / "net");
    set(work, "other.s.a=1");
    EXPECT_THROW(work.end(), uci::io_error);
    EXPECT_TRUE(work.has_lost_changes());
    EXPECT_EQ(read("delta/other"), "other.s.a='1'\n");
}

// Another process waits until the end, and then sees everything; a file elsewhere is no reason to let it in
// before what came first is written.
TEST_F(transaction_test, others_wait) {
    uci::transaction work = begin();
    set(work, "net.lan.a=1");
    auto other = std::async(std::launch::async, [this] {
        uci::transaction reader(folders(), uci::file::access::shared);
        return reader.recorded("net").size();
    });
    EXPECT_EQ(other.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    fs::create_directory(root_ / "elsewhere");
    write("elsewhere/file", "config t s\n");
    work.record(action::set, {root_ / "elsewhere/file", "s", "a", "1"});
    EXPECT_EQ(other.get(), 1U);
    work.end();
    EXPECT_EQ(read("elsewhere/file"), "\nconfig t 's'\n\toption a '1'\n\n");
}

// Several folders in any order, at once from both sides.
TEST_F(transaction_test, nobody_waits_for_ever) {
    fs::create_directory(root_ / "delta");
    fs::create_directory(root_ / "second");
    fs::create_directory(root_ / "config2");
    write("config2/net", "config interface lan\n");
    write("config2/other", "config t s\n");
    const auto work = [](const uci::folders &where, const std::string &mine) {
        for (int round = 0; round < 100; ++round) {
            uci::transaction steps(where, uci::file::access::exclusive);
            steps.record(action::list_add, parse_path("net.lan.l=1"));
            steps.record(action::set, {mine, "s", "a", std::to_string(round)});
            steps.record(action::list_add, parse_path("other.s.l=1"));
            steps.end();
        }
    };
    write("a", "config t s\n");
    const uci::folders one{root_ / "config", root_ / "delta", {root_ / "second"}};
    const uci::folders two{root_ / "config2", root_ / "second", {root_ / "delta"}};
    auto first = std::async(std::launch::async, work, one, root_ / "config2/other");
    auto second = std::async(std::launch::async, work, two, root_ / "config/other");
    ASSERT_EQ(first.wait_for(std::chrono::seconds(50)), std::future_status::ready);
    ASSERT_EQ(second.wait_for(std::chrono::seconds(50)), std::future_status::ready);
    EXPECT_EQ(uci::store({root_ / "config", root_ / "delta"}).recorded("net").size(), 100U);
    EXPECT_EQ(uci::store({root_ / "config2", root_ / "second"}).recorded("other").size(), 100U);
}

} // namespace
