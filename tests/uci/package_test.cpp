// SPDX-License-Identifier: Apache-2.0
// A package in memory: generated names and selectors.
#include "devkit/uci/package.h"

#include <gtest/gtest.h>

namespace {

TEST(package, generated_names) {
    uci::package content{"net", {}};
    EXPECT_EQ(content.next_name("rule"), "cfg0192bd");
    EXPECT_EQ(content.next_name("interface"), "cfg016d96");
    EXPECT_EQ(content.next_name("wifi-iface"), "cfg013579");
    EXPECT_EQ(content.next_name("host"), "cfg01fe63");
    content.create("named", "rule", false);
    content.sections.clear();
    EXPECT_EQ(content.next_name("rule"), "cfg0292bd");
    content.created = 254;
    EXPECT_EQ(content.next_name("rule"), "cfgff92bd");
    content.created = 255;
    EXPECT_EQ(content.next_name("rule"), "cfg10092bd");
}

TEST(package, a_taken_name_is_passed_over) {
    uci::package content{"net", {}};
    content.create("cfg0292bd", "rule", false);
    EXPECT_EQ(content.next_name("rule"), "cfg0392bd");
}

TEST(package, selectors) {
    for (const char *text :
         {"@a[0]", "@a[-1]", "@a[]", "@[3]", "@[]", "@wifi-iface[12]", "@a[ 1]", "@a[+1]", "@a[ -1]"})
        EXPECT_TRUE(uci::is_selector(text)) << text;
    for (const char *text : {"", "@", "@a", "@a[", "@a]", "a[0]", "@a[x]", "@a[0]b", "@a[+-1]", "@a[1 ]",
                             "@a[ ]", "@a[99999999999999999999]", "@a[--1]"})
        EXPECT_FALSE(uci::is_selector(text)) << text;
}

TEST(package, removing_the_last_item_leaves_an_empty_list) {
    uci::section target{"x", "a", false, {}};
    target.add_to_list("l", "1");
    target.add_to_list("l", "1");
    EXPECT_FALSE(target.remove_from_list("l", "2"));
    EXPECT_TRUE(target.remove_from_list("l", "1"));
    ASSERT_NE(target.find("l"), nullptr);
    EXPECT_TRUE(target.find("l")->values.empty());
    EXPECT_FALSE(target.remove_from_list("l", "1"));
}

// Whatever happened to the sections, each is found by its name at its place.
TEST(package, every_section_is_found_by_its_name) {
    uci::package content{"net", {}};
    for (int number = 0; number < 1000; ++number)
        content.create("s" + std::to_string(number), "t", false);
    content.remove(*content.find("s0"));
    content.rename(*content.find("s999"), "last");
    content.move(*content.find("last"), 0);
    content.move(*content.find("s1"), 5000);
    const uci::package copy = content;
    content.sections.clear();
    content = copy;
    content.create("more", "t", false);
    for (const uci::section &each : content.sections)
        EXPECT_EQ(content.find(each.name), &each) << each.name;
    EXPECT_EQ(content.sections.front().name, "last");
    EXPECT_EQ(content.sections[content.sections.size() - 2].name, "s1");
    for (const char *gone : {"s0", "s999", "", "s1000"})
        EXPECT_EQ(content.find(gone), nullptr) << gone;
}

} // namespace
