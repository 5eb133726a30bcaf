// SPDX-License-Identifier: Apache-2.0
// Configuration files: what is written reads the same, and whatever is read is written in one way only.
#include "devkit/uci/error.h"
#include "devkit/uci/format.h"
#include "devkit/uci/text.h"
#include "tests/uci/generator.h"

#include <gtest/gtest.h>

namespace {

TEST(format, written_to_the_letter) {
    uci::package content{"net", {}};
    EXPECT_EQ(uci::to_text(content), "\n");
    uci::section &first = content.create("lan", "interface", false);
    first.set("proto", "it's");
    first.add_to_list("dns", "1.1.1.1");
    first.add_to_list("dns", "");
    content.create("cfg0292bd", "rule", true).set("lines", "a\nb");
    const std::string lan =
        "\nconfig interface 'lan'\n\toption proto 'it'\\''s'\n\tlist dns '1.1.1.1'\n\tlist dns ''\n";
    EXPECT_EQ(uci::to_text(content), lan + "\nconfig rule\n\toption lines 'a\nb'\n\n");
    EXPECT_EQ(uci::to_export(content, true),
              "package net\n" + lan + "\nconfig rule 'cfg0292bd'\n\toption lines 'a\nb'\n\n");
}

TEST(format, every_byte_survives_in_a_value) {
    std::string value;
    for (int byte = 1; byte < 256; ++byte)
        value += static_cast<char>(byte);
    const std::string text = "config a x\noption y " + uci::quoted(value);
    EXPECT_EQ(uci::parse_file("net", text).find("x")->find("y")->values.front(), value);
}

// A name that looks like a generated one may be the one that an anonymous section before it has got.
TEST(format, a_name_is_no_anonymous_section_s) {
    const std::string text = "\nconfig rule\n\toption a '1'\n\nconfig rule 'cfg0192bd'\n\toption b '2'\n\n";
    uci::package content = uci::parse_file("net", text);
    EXPECT_EQ(uci::to_text(content), text);
    EXPECT_EQ(content.find("cfg0192bd")->find("b")->values.front(), "2");
    EXPECT_EQ(content.find("@rule[0]")->find("a")->values.front(), "1");
    EXPECT_NE(content.find("@rule[0]")->name, "cfg0192bd");
}

TEST(format, random_packages_survive) {
    generator random(20240229);
    for (int round = 0; round < 300; ++round) {
        const uci::package content = random.package();
        const std::string text = uci::to_text(content);
        ASSERT_EQ(uci::to_text(uci::parse_file("net", text)), text) << "round " << round;
        ASSERT_EQ(uci::to_export(uci::parse_file("net", text), true), uci::to_export(content, true))
            << "round " << round;
    }
}

// Junk is refused with a place inside the text, or read as something that is written and read for ever the
// same.
TEST(format, random_junk) {
    generator random(7);
    const char *const pieces[] = {"config", "option", "list", "package", "c",  "o",    "l",
                                  "p",      " ",      "\n",   "\n",      "'",  "\"",   "\\",
                                  "#",      ";",      "x",    "y",       "\t", "\r\n", "\x01"};
    int accepted = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string text;
        for (size_t count = random.below(24); count != 0; --count)
            text += pieces[random.below(std::size(pieces))];
        try {
            const std::string written = uci::to_text(uci::parse_file("net", text));
            ASSERT_EQ(uci::to_text(uci::parse_file("net", written)), written) << text;
            ++accepted;
        } catch (const uci::parse_error &failure) {
            ASSERT_NE(std::string(failure.what()).find("at line "), std::string::npos) << text;
        }
    }
    EXPECT_GT(accepted, 150);
}

TEST(format, texts) {
    for (const char *name : {"a", "A9_", "_", "0"})
        EXPECT_TRUE(uci::is_name(name)) << name;
    for (const char *name : {"", "a-b", "a b", "a.b", "\xc3\xa9", "a\n"})
        EXPECT_FALSE(uci::is_name(name)) << name;
    for (const char *type : {"a", "wifi-iface", "!", "~", "a'b", "a.b"})
        EXPECT_TRUE(uci::is_type(type)) << type;
    for (const char *type : {"", "a b", "a\tb", "\x7f", "\x80", "\xc3\xa9"})
        EXPECT_FALSE(uci::is_type(type)) << type;
    for (const char *bare : {"'", "\"", "\\", "#", ";"})
        EXPECT_FALSE(uci::is_bare(bare)) << bare;
    for (const char *value : {"", "\t\n\r", "\x7f\x80\xff", " "})
        EXPECT_TRUE(uci::is_value(value)) << value;
    for (const char *value : {"\x01", "a\vb", "\x1f"})
        EXPECT_FALSE(uci::is_value(value)) << value;
    EXPECT_FALSE(uci::is_value(std::string_view("a\0b", 3)));
}

} // namespace
