// SPDX-License-Identifier: Apache-2.0
// Digest, shell escape, letter case.
#include "platform/zuutil.h"
#include "tests/platform/fixture.h"

#include <vector>

namespace {

class text : public platform_test {
protected:
    // In a buffer of exactly the promised size.
    static std::string escaped(const std::string &source) {
        std::vector<char> buffer(2 * source.size() + 1, '~');
        EXPECT_EQ(increase_escape_function(source.c_str(), buffer.data(), static_cast<int>(source.size())),
                  0);
        return buffer.data();
    }
};

TEST_F(text, sha256_vectors) {
    const struct {
        std::string text;
        const char *digest;
    } rows[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto &row : rows) {
        std::vector<char> digest(65);
        EXPECT_EQ(sha256(row.text.c_str(), digest.data()), 0);
        EXPECT_STREQ(digest.data(), row.digest);
    }
    EXPECT_NE(sha256(nullptr, nullptr), 0);
}

// A line feed is the one character that a backslash takes away instead of protecting it.
TEST_F(text, every_byte_through_the_shell) {
    for (int byte = 1; byte < 256; ++byte) {
        const std::string source = std::string("Q") + static_cast<char>(byte) + "Q";
        const std::string expected = byte == '\n' ? "QQ" : source;
        EXPECT_EQ(shell("echo " + escaped(source)), expected + "\n") << byte;
        EXPECT_EQ(shell("printf %s " + escaped(source)), expected) << byte;
    }
}

TEST_F(text, nothing_runs_in_the_shell) {
    const std::string mark = (root_ / "mark").string();
    for (const char *attack : {"$(touch %)", "`touch %`", "; touch %", "| touch %", "&& touch %", "& touch %",
                               "\ntouch %\n", "> %", "' ; touch % ; '", "\" ; touch % ; \"", "\\; touch %",
                               "${x:=$(touch %)}", "\\$(touch %)", "# \n touch %", "<(touch %)"}) {
        std::string source = attack;
        source.replace(source.find('%'), 1, mark);
        shell("echo " + escaped(source));
        EXPECT_FALSE(std::filesystem::exists(mark)) << attack;
    }
    EXPECT_EQ(shell("cd " + root_.string() + "; echo " + escaped("* ? [a-z]* ~ {a,b} !! ^x")),
              "* ? [a-z]* ~ {a,b} !! ^x\n");
}

TEST_F(text, what_needs_no_escape) {
    const std::string plain = "azAZ09_./:=@%+,-\x80\xff\xc3\xa9";
    EXPECT_EQ(escaped(plain), plain);
    for (const char *zone :
         {"America/New_York", "Etc/GMT+5", "Etc/GMT-14", "America/Port-au-Prince", "EST5EDT",
          "America/Argentina/ComodRivadavia", "Antarctica/DumontDUrville", "GMT0", "UTC"})
        EXPECT_EQ(escaped(zone), zone);
}

TEST_F(text, escape_takes_length_characters) {
    char buffer[5] = {'~', '~', '~', '~', '~'};
    EXPECT_EQ(increase_escape_function("a bcd", buffer, 2), 0);
    EXPECT_STREQ(buffer, "a\\ ");
    EXPECT_EQ(buffer[4], '~');
    EXPECT_EQ(increase_escape_function("a", buffer, 0), 0);
    EXPECT_STREQ(buffer, "");
    // Never beyond the end of the text.
    EXPECT_EQ(increase_escape_function("ab", buffer, 1000), 0);
    EXPECT_STREQ(buffer, "ab");
    EXPECT_NE(increase_escape_function(nullptr, buffer, 1), 0);
    EXPECT_NE(increase_escape_function("a", nullptr, 1), 0);
    EXPECT_NE(increase_escape_function("a", buffer, -1), 0);
    EXPECT_STREQ(buffer, "ab");
}

TEST_F(text, letter_case) {
    char mixed[] = "aZ[`{@9\xe4";
    str_to_upper(mixed);
    EXPECT_STREQ(mixed, "AZ[`{@9\xe4");
    str_to_lower(mixed);
    EXPECT_STREQ(mixed, "az[`{@9\xe4");
    str_to_upper(nullptr);
    str_to_lower(nullptr);
}

} // namespace
