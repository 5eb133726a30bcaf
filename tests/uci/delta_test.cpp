// SPDX-License-Identifier: Apache-2.0
// Delta lines: whatever is applied in memory is applied from its line as well.
#include "devkit/uci/delta.h"
#include "devkit/uci/error.h"
#include "devkit/uci/format.h"
#include "tests/uci/generator.h"

#include <gtest/gtest.h>

namespace {

// True when the package took it.
bool try_apply(uci::package &content, const uci::change &wanted) {
    try {
        return uci::apply(content, wanted);
    } catch (const uci::error &) {
        return false;
    }
}

TEST(delta, lines_to_the_letter) {
    const struct {
        uci::change made;
        const char *line;
    } rows[] = {
        {{uci::action::set, "lan", "ifname", "eth1"}, "net.lan.ifname='eth1'\n"},
        {{uci::action::set, "new", "", "interface"}, "net.new='interface'\n"},
        {{uci::action::remove, "lan", "proto", {}}, "-net.lan.proto\n"},
        {{uci::action::remove, "cfg0292bd", "", {}}, "-net.cfg0292bd\n"},
        {{uci::action::remove, "lan", "dns", "1"}, "-net.lan.dns='1'\n"},
        {{uci::action::add, "cfg0592bd", "", "rule"}, "+net.cfg0592bd='rule'\n"},
        {{uci::action::list_add, "lan", "dns", "9.9.9.9"}, "|net.lan.dns='9.9.9.9'\n"},
        {{uci::action::list_remove, "lan", "dns", "8.8.8.8"}, "~net.lan.dns='8.8.8.8'\n"},
        {{uci::action::rename, "lan", "ifname", "device"}, "@net.lan.ifname='device'\n"},
        {{uci::action::rename, "lan", "", "wan"}, "@net.lan='wan'\n"},
        {{uci::action::reorder, "lan", "", "1"}, "^net.lan='1'\n"},
        {{uci::action::set, "lan", "text", "it's\ntwo"}, "net.lan.text='it'\\''s\ntwo'\n"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(uci::to_line("net", row.made), row.line);
        const uci::delta read = uci::parse_delta("net", row.line);
        ASSERT_EQ(read.changes.size(), 1U) << row.line;
        EXPECT_EQ(uci::to_line("net", read.changes.front()), row.line);
    }
}

TEST(delta, random_changes_survive) {
    generator random(31);
    size_t made = 0;
    for (int round = 0; round < 300; ++round) {
        uci::package direct = random.package();
        uci::package through_lines = direct;
        std::string lines;
        for (size_t count = random.below(20); count != 0; --count) {
            const uci::change wanted = random.change(direct);
            if (try_apply(direct, wanted)) {
                lines += uci::to_line("net", wanted);
                ++made;
            }
        }
        for (const uci::change &each : uci::parse_delta("net", lines).changes)
            ASSERT_TRUE(try_apply(through_lines, each)) << lines;
        ASSERT_EQ(uci::to_export(through_lines, true), uci::to_export(direct, true)) << lines;
        ASSERT_EQ(uci::to_text(uci::parse_file("net", uci::to_text(direct))), uci::to_text(direct)) << lines;
    }
    EXPECT_GT(made, 1500U);
}

TEST(delta, what_cannot_be_done_changes_nothing) {
    generator random(32);
    int refused = 0;
    for (int round = 0; round < 2000; ++round) {
        uci::package content = random.package();
        const std::string before = uci::to_export(content, true);
        const uci::change wanted = random.change(content);
        if (!try_apply(content, wanted)) {
            ++refused;
            ASSERT_EQ(uci::to_export(content, true), before) << uci::to_line("net", wanted);
        }
    }
    EXPECT_GT(refused, 200);
}

// Wherever the last line was torn off, it is left out, and the text before it is known to be whole.
TEST(delta, torn_line) {
    const std::string whole = "net.a.b='1'\n";
    for (const std::string line : {"net.a.c='it'\\''s\n\ntwo'\n", "-net.a.b\n", "+net.cfg0292bd='t'\n"}) {
        for (size_t length = 0; length < line.size(); ++length) {
            const uci::delta read = uci::parse_delta("net", whole + line.substr(0, length));
            EXPECT_EQ(read.changes.size(), 1U) << length;
            EXPECT_EQ(read.whole, whole.size()) << length;
        }
    }
}

// Such a line would take the next one for its continuation, and the change in it would be lost.
TEST(delta, escaped_line_end) {
    const std::string whole = "net.a.b='1'\n";
    for (const char *line : {"x\\\n", "net.a.c=1\\\n", "net.a.c='1'\\\r\n"}) {
        const uci::delta read = uci::parse_delta("net", whole + line);
        EXPECT_EQ(read.changes.size(), 1U) << line;
        EXPECT_EQ(read.whole, whole.size()) << line;
    }
    for (const char *line : {"x\\\\\n", "# x\\\n", "\\\n"})
        EXPECT_EQ(uci::parse_delta("net", whole + line).whole, (whole + line).size()) << line;
}

} // namespace
