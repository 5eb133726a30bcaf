// SPDX-License-Identifier: Apache-2.0
// Text rules: UTF-8, percent escapes, and what the JSON parser is too lenient about.
#include "devkit/apid/text.h"

#include <algorithm>
#include <charconv>
#include <strings.h>

namespace apid {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

struct utf8_form {
    unsigned char first_low, first_high;   // range of the first byte
    unsigned char second_low, second_high; // range of the second; the others are 80 to BF
    size_t length;
};

// clang-format off
constexpr utf8_form multibyte_forms[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3}, // no overlong form
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3}, // no surrogate
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4}, // up to U+10FFFF
};
// clang-format on

bool within(char byte, unsigned char low, unsigned char high) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= low && value <= high;
}

bool fits(std::string_view text, const utf8_form &form) {
    if (text.size() < form.length || !within(text[0], form.first_low, form.first_high) ||
        !within(text[1], form.second_low, form.second_high))
        return false;
    for (size_t i = 2; i < form.length; ++i)
        if (!within(text[i], 0x80, 0xBF))
            return false;
    return true;
}

size_t count_digits(std::string_view text) {
    const auto *const end =
        std::find_if_not(text.begin(), text.end(), [](char c) { return within(c, '0', '9'); });
    return static_cast<size_t>(end - text.begin());
}

// Bytes of the number that the text begins with, as JSON writes numbers; 0 when it begins with none.
size_t number_length(std::string_view text) {
    size_t at = text.starts_with('-') ? 1 : 0;
    const size_t whole = count_digits(text.substr(at));
    if (whole == 0 || (whole > 1 && text[at] == '0'))
        return 0;
    at += whole;
    if (text.substr(at).starts_with('.')) {
        const size_t fraction = count_digits(text.substr(at + 1));
        if (fraction == 0)
            return 0;
        at += 1 + fraction;
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-'))
            ++at;
        const size_t exponent = count_digits(text.substr(at));
        if (exponent == 0)
            return 0;
        at += exponent;
    }
    return at;
}

bool is_in_number(char c) { return within(c, '0', '9') || c == '-' || c == '+' || c == '.'; }

// Bytes to go on from a place outside of strings; 0 where only json-c takes the text for JSON.
size_t plain_length(std::string_view text) {
    if (text[0] == '\'' || text[0] == 'N' || text[0] == 'I')
        return 0;
    if (!is_in_number(text[0]))
        return 1;
    const size_t length = number_length(text);
    return length < text.size() && is_in_number(text[length]) ? 0 : length;
}

// Bytes of an escape that the text begins with, as far as it is to be looked at; 0 when it stands for NUL.
size_t escape_length(std::string_view text, bool takes_nul) {
    return !takes_nul && text.starts_with("\\u0000") ? 0 : 2;
}

} // namespace

size_t utf8_character(std::string_view text) {
    if (text.empty())
        return 0;
    if (within(text[0], 0x00, 0x7F))
        return 1;
    for (const utf8_form &form : multibyte_forms)
        if (fits(text, form))
            return form.length;
    return 0;
}

size_t utf8_length(std::string_view text) {
    size_t at = 0;
    while (const size_t length = utf8_character(text.substr(at)))
        at += length;
    return at;
}

bool is_utf8(std::string_view text) { return utf8_length(text) == text.size(); }

std::string repair_utf8(std::string_view text) {
    std::string repaired;
    repaired.reserve(text.size());
    for (;;) {
        const size_t good = utf8_length(text);
        repaired.append(text.substr(0, good));
        if (good == text.size())
            return repaired;
        repaired.append(replacement);
        text.remove_prefix(good + 1);
    }
}

bool is_control(char c) { return (within(c, 0x00, 0x1F) && c != '\t') || c == '\x7F'; }

bool has_control(std::string_view text) { return std::any_of(text.begin(), text.end(), is_control); }

std::string decode_percent(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (size_t at = 0; at < text.size(); ++at) {
        const std::string_view digits = text.substr(at).substr(1, 2);
        unsigned char byte = 0;
        if (text[at] == '%' && digits.size() == 2 &&
            std::from_chars(digits.begin(), digits.end(), byte, 16).ptr == digits.end() && byte != 0) {
            decoded.push_back(static_cast<char>(byte));
            at += 2;
        } else {
            decoded.push_back(text[at]);
        }
    }
    return decoded;
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

size_t plain_json_length(std::string_view text, bool takes_nul) {
    bool in_string = false;
    for (size_t at = 0; at < text.size();) {
        const std::string_view rest = text.substr(at);
        size_t length = 1;
        if (rest[0] == '"')
            in_string = !in_string;
        else if (rest[0] == '\\')
            length = escape_length(rest, takes_nul);
        else if (in_string)
            length = within(rest[0], 0x00, 0x1F) ? 0 : 1;
        else
            length = plain_length(rest);
        if (length == 0)
            return at;
        at += length;
    }
    return text.size();
}

} // namespace apid
