// SPDX-License-Identifier: Apache-2.0
// UCI access.
#include "platform/zuutil.h"
#include "tests/platform/fixture.h"

#include <memory>

namespace {

using context = std::unique_ptr<zuci2_context, decltype(&zuci2_free)>;

class zuci2 : public platform_test {
protected:
    void SetUp() override {
        platform_test::SetUp();
        write("config/net",
              "config interface lan\n\toption proto static\n\tlist dns 1.1.1.1\n\tlist dns 'a b'\n"
              "config rule\n\toption n 1\nconfig rule named\n\toption n 2\n");
    }

    static context open() { return {zuci2_init(), &zuci2_free}; }

    static std::string get(const char *path) {
        platform_buffer buffer;
        return zuci2_get(open().get(), path, buffer) == 0 ? static_cast<char *>(buffer) : "(missing)";
    }

    std::string uci(const std::string &words) const {
        return shell(UCI " -c " + (root_ / "config").string() + " -t " + (root_ / "delta").string() + " " +
                     words + " 2>&1");
    }
};

TEST_F(zuci2, get) {
    const struct {
        const char *path;
        const char *value;
    } rows[] = {
        {"net.lan.proto", "static"}, {"net.lan.dns", "1.1.1.1 a b"}, {"net.@rule[0].n", "1"},
        {"net.@rule[-1].n", "2"},    {"net.@rule[1].n", "2"},        {"net.named.n", "2"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(get(row.path), row.value) << row.path;
}

TEST_F(zuci2, missing_option_leaves_the_buffer) {
    const context ctx = open();
    for (const char *path : {"net.lan.nosuch", "net.nosuch.proto", "nosuch.lan.proto", "net.@rule[2].n",
                             "net.lan", "net", "", "net.lan.proto=1", "net.l-n.proto", "a/b.c.d"}) {
        platform_buffer buffer;
        EXPECT_NE(zuci2_get(ctx.get(), path, buffer), 0) << path;
        EXPECT_TRUE(buffer.untouched()) << path;
    }
}

TEST_F(zuci2, get_is_cut_to_4096_bytes) {
    const context ctx = open();
    for (const size_t length : {size_t{4094}, size_t{4095}, size_t{4096}, size_t{100000}}) {
        ASSERT_EQ(zuci2_set(ctx.get(), "net.lan.long", std::string(length, 'x').c_str()), 0);
        EXPECT_EQ(get("net.lan.long"), std::string(std::min(length, size_t{4095}), 'x')) << length;
    }
}

TEST_F(zuci2, null_is_harmless) {
    platform_buffer buffer;
    EXPECT_NE(zuci2_get(nullptr, "net.lan.proto", buffer), 0);
    EXPECT_NE(zuci2_set(nullptr, "net.lan.proto", "dhcp"), 0);
    EXPECT_NE(zuci2_delete(nullptr, "net.lan.proto"), 0);
    EXPECT_NE(zuci2_commit(nullptr, "net"), 0);
    EXPECT_EQ(zuci2_section_count(nullptr, "net.@rule"), 0);
    zuci2_free(nullptr);
    const context ctx = open();
    EXPECT_NE(zuci2_get(ctx.get(), nullptr, buffer), 0);
    EXPECT_NE(zuci2_get(ctx.get(), "net.lan.proto", nullptr), 0);
    EXPECT_NE(zuci2_set(ctx.get(), nullptr, "1"), 0);
    EXPECT_NE(zuci2_set(ctx.get(), "net.lan.proto", nullptr), 0);
    EXPECT_NE(zuci2_delete(ctx.get(), nullptr), 0);
    EXPECT_NE(zuci2_commit(ctx.get(), nullptr), 0);
    EXPECT_EQ(zuci2_section_count(ctx.get(), nullptr), 0);
    EXPECT_TRUE(buffer.untouched());
    EXPECT_EQ(get("net.lan.proto"), "static");
}

TEST_F(zuci2, set) {
    const context ctx = open();
    EXPECT_EQ(zuci2_set(ctx.get(), "net.new", "interface"), 0);
    EXPECT_EQ(zuci2_set(ctx.get(), "net.new.proto", "dhcp"), 0);
    EXPECT_EQ(zuci2_set(ctx.get(), "net.@rule[0].n", "it's"), 0);
    EXPECT_EQ(get("net.new.proto"), "dhcp");
    EXPECT_EQ(get("net.@rule[0].n"), "it's");
    EXPECT_NE(zuci2_set(ctx.get(), "net.nosuch.proto", "dhcp"), 0);
    EXPECT_NE(zuci2_set(ctx.get(), "nosuch.lan.proto", "dhcp"), 0);
    EXPECT_NE(zuci2_set(ctx.get(), "net.lan.proto=x", "dhcp"), 0);
    EXPECT_NE(zuci2_set(ctx.get(), "net", "x"), 0);
    EXPECT_EQ(read("delta/net"), "net.new='interface'\nnet.new.proto='dhcp'\nnet.cfg0292bd.n='it'\\''s'\n");
}

TEST_F(zuci2, the_empty_value_deletes) {
    const context ctx = open();
    EXPECT_EQ(zuci2_set(ctx.get(), "net.lan.proto", ""), 0);
    EXPECT_EQ(zuci2_set(ctx.get(), "net.lan.nosuch", ""), 0);
    EXPECT_EQ(get("net.lan.proto"), "(missing)");
    EXPECT_EQ(read("delta/net"), "-net.lan.proto\n");
}

TEST_F(zuci2, delete_) {
    const context ctx = open();
    EXPECT_EQ(zuci2_delete(ctx.get(), "net.lan.proto"), 0);
    EXPECT_EQ(zuci2_delete(ctx.get(), "net.@rule[0]"), 0);
    EXPECT_NE(zuci2_delete(ctx.get(), "net.lan.proto"), 0);
    EXPECT_NE(zuci2_delete(ctx.get(), "net.nosuch"), 0);
    EXPECT_NE(zuci2_delete(ctx.get(), "nosuch.lan"), 0);
    EXPECT_NE(zuci2_delete(ctx.get(), "net"), 0);
    EXPECT_EQ(read("delta/net"), "-net.lan.proto\n-net.cfg0292bd\n");
    EXPECT_EQ(zuci2_section_count(ctx.get(), "net.@rule"), 1);
}

TEST_F(zuci2, section_count) {
    const context ctx = open();
    EXPECT_EQ(zuci2_section_count(ctx.get(), "net.@rule"), 2);
    EXPECT_EQ(zuci2_section_count(ctx.get(), "net.@interface"), 1);
    for (const char *type : {"net.@nosuch", "nosuch.@rule", "net.rule", "net", "", "net.@"})
        EXPECT_EQ(zuci2_section_count(ctx.get(), type), 0) << type;
}

TEST_F(zuci2, commit) {
    const context ctx = open();
    ASSERT_EQ(zuci2_set(ctx.get(), "net.lan.proto", "dhcp"), 0);
    EXPECT_EQ(zuci2_commit(ctx.get(), "net"), 0);
    EXPECT_EQ(read("delta/net"), "");
    EXPECT_NE(read("config/net").find("\toption proto 'dhcp'\n"), std::string::npos);
    EXPECT_NE(zuci2_commit(ctx.get(), "nosuch"), 0);
    EXPECT_NE(zuci2_commit(ctx.get(), "net.lan"), 0);
}

TEST_F(zuci2, a_change_survives_without_commit) {
    ASSERT_EQ(zuci2_set(open().get(), "net.lan.proto", "dhcp"), 0);
    EXPECT_EQ(get("net.lan.proto"), "dhcp");
    EXPECT_EQ(uci("get net.lan.proto"), "dhcp\n");
    EXPECT_EQ(uci("-t " + root_.string() + "/none get net.lan.proto"), "static\n");
    EXPECT_EQ(uci("commit"), "");
    EXPECT_EQ(uci("-t " + root_.string() + "/none get net.lan.proto"), "dhcp\n");
    EXPECT_EQ(get("net.lan.proto"), "dhcp");
}

TEST_F(zuci2, an_open_context_sees_what_others_do) {
    const context ctx = open();
    platform_buffer buffer;
    EXPECT_EQ(uci("set net.lan.proto=pppoe"), "");
    ASSERT_EQ(zuci2_get(ctx.get(), "net.lan.proto", buffer), 0);
    EXPECT_STREQ(buffer, "pppoe");
    EXPECT_EQ(uci("revert net"), "");
    ASSERT_EQ(zuci2_get(ctx.get(), "net.lan.proto", buffer), 0);
    EXPECT_STREQ(buffer, "static");
}

TEST_F(zuci2, a_package_with_an_error_is_missing) {
    write("config/net", "nonsense\n");
    EXPECT_EQ(get("net.lan.proto"), "(missing)");
    EXPECT_NE(zuci2_set(open().get(), "net.lan.proto", "1"), 0);
    EXPECT_EQ(zuci2_section_count(open().get(), "net.@rule"), 0);
}

TEST_F(zuci2, no_context_where_both_folders_are_one) {
    setenv("UCI_DELTA_DIR", (root_ / "config").c_str(), 1);
    EXPECT_EQ(zuci2_init(), nullptr);
}

} // namespace
