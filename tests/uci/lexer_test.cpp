// SPDX-License-Identifier: Apache-2.0
// The lexer: words, where they begin, and what is left of a text that breaks off.
#include "devkit/uci/error.h"
#include "devkit/uci/lexer.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace {

std::string place_of(std::string_view text, size_t offset) {
    const std::string_view before = text.substr(0, offset);
    return std::to_string(1 + std::count(before.begin(), before.end(), '\n')) + ":" +
           std::to_string(offset - (before.rfind('\n') + 1)) + ":";
}

// Each command as "line:byte:word" pieces in brackets.
std::string commands_of(std::string_view text) {
    uci::lexer source(text);
    std::string result;
    for (const auto *words = &source.next(); !words->empty(); words = &source.next()) {
        result += "[";
        for (const uci::word &each : *words)
            result +=
                (&each == words->data() ? "" : " ") + place_of(text, each.offset) + std::string(each.text);
        EXPECT_EQ(source.begun(), words->front().offset);
        result += "]";
    }
    EXPECT_EQ(source.consumed(), text.size()) << text;
    return result;
}

TEST(lexer, words_and_places) {
    const struct {
        const char *text;
        const char *commands;
    } rows[] = {
        {"", ""},
        {" \t\r\n;;\n# only a comment", ""},
        {"one", "[1:0:one]"},
        {"one two\n\n three", "[1:0:one 1:4:two][3:1:three]"},
        {"one;two # three ; four\n;five", "[1:0:one][1:4:two][2:1:five]"},
        {"o#ne", "[1:0:o]"},
        {"'a b'\"c d\"e\\ f 'g'", "[1:0:a bc de f 1:15:g]"},
        {"'\\n' \"\\n\\\"\" \\n\\\\", "[1:0:\\n 1:5:n\" 1:12:n\\]"},
        {"'' \"\" x", "[1:0: 1:3: 1:6:x]"},
        {"'a\nb' c\nd", "[1:0:a\nb 2:3:c][3:0:d]"},
        {"a\\\nb \\\n \\\nc\nd", "[1:0:ab 4:0:c][5:0:d]"},
        {"\"a\\\nb\" \"a\\\r\nb\"", "[1:0:ab 2:3:ab]"},
        {"a\\", "[1:0:a]"},
        {"a\r\nb\r\n", "[1:0:a][2:0:b]"},
        {"a\vb\fc", "[1:0:a 1:2:b 1:4:c]"},
        {"\xff\x80", "[1:0:\xff\x80]"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(commands_of(row.text), row.commands) << row.text;
}

TEST(lexer, nul_ends_a_line) {
    const struct {
        std::string_view text;
        const char *commands;
    } rows[] = {
        {{"\0", 1}, ""},
        {{"a\0b\nc", 5}, "[1:0:a][2:0:c]"},
        {{"a 'b\0c\nd'", 9}, "[1:0:a 1:2:b\nd]"},
        {{"a \"b\0c\nd\"", 9}, "[1:0:a 1:2:b\nd]"},
        {{"a\\\0b\nc", 6}, "[1:0:ac]"},
        {{"a \\\0", 4}, "[1:0:a]"},
        {{"'a'\0b\n", 6}, "[1:0:a]"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(commands_of(row.text), row.commands) << row.text;
}

TEST(lexer, rest_and_skipped_lines) {
    uci::lexer source("a; b\nc\nd");
    source.next();
    EXPECT_EQ(source.rest(), " b\nc\nd");
    source.skip_line();
    EXPECT_EQ(source.next().front().text, "c");
    source.skip_line();
    EXPECT_EQ(source.next().front().text, "d");
    EXPECT_EQ(source.rest(), "");
}

TEST(lexer, open_quote) {
    const struct {
        const char *text;
        const char *message;
        size_t consumed;
    } rows[] = {
        {"'", "Parse error (EOF with unterminated ') at line 1, byte 0", 0},
        {"a b\nc 'd\n", "Parse error (EOF with unterminated ') at line 2, byte 2", 4},
        {"a;\"b\\\"", "Parse error (EOF with unterminated \") at line 1, byte 2", 2},
        {"a\n\"b\\", "Parse error (EOF with unterminated \") at line 2, byte 0", 2},
    };
    for (const auto &row : rows) {
        uci::lexer source(row.text);
        try {
            while (!source.next().empty()) {
            }
            FAIL() << row.text;
        } catch (const uci::parse_error &failure) {
            EXPECT_STREQ(failure.what(), row.message) << row.text;
            EXPECT_EQ(source.consumed(), row.consumed) << row.text;
        }
    }
}

} // namespace
