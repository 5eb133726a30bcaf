// SPDX-License-Identifier: Apache-2.0
// JSON in and out.
#include "tools/plan/json.h"

#include "tools/plan/snapshot.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>

namespace plan {

namespace {

constexpr std::string_view replacement_character = "\xef\xbf\xbd";

struct tokener_release {
    void operator()(json_tokener *tokener) const { json_tokener_free(tokener); }
};

// "line 3, column 7: reason"; a text of one line has no line to be named.
std::string complaint(std::string_view text, size_t at, const std::string &reason) {
    at = std::min(at, text.size());
    const std::string_view before = text.substr(0, at);
    const size_t line = static_cast<size_t>(std::ranges::count(before, '\n')) + 1;
    const size_t column = at - (before.rfind('\n') + 1) + 1;
    const bool one_line = text.find('\n') >= text.size() - 1;
    return (one_line ? "" : "line " + std::to_string(line) + ", ") + "column " + std::to_string(column) +
           ": " + reason;
}

size_t skip_blanks(std::string_view text, size_t at) {
    const size_t found = text.find_first_not_of(" \t\r\n", at);
    return found == std::string_view::npos ? text.size() : found;
}

// The smallest and largest second byte, and the length, of characters that begin with these bytes.
struct utf8_row {
    unsigned char first, last, second_least, second_most;
    size_t length;
};
constexpr std::array<utf8_row, 9> utf8_rows{{{0x00, 0x7f, 0, 0, 1},
                                             {0xc2, 0xdf, 0x80, 0xbf, 2},
                                             {0xe0, 0xe0, 0xa0, 0xbf, 3},
                                             {0xe1, 0xec, 0x80, 0xbf, 3},
                                             {0xed, 0xed, 0x80, 0x9f, 3},
                                             {0xee, 0xef, 0x80, 0xbf, 3},
                                             {0xf0, 0xf0, 0x90, 0xbf, 4},
                                             {0xf1, 0xf3, 0x80, 0xbf, 4},
                                             {0xf4, 0xf4, 0x80, 0x8f, 4}}};

constexpr std::string_view replacement = "\xef\xbf\xbd"; // U+FFFD

bool is_continuation(char c) { return (static_cast<unsigned char>(c) & 0xc0U) == 0x80; }

void append_escaped(std::string &out, char c) {
    constexpr std::string_view plain = "\"\\\b\f\n\r\t";
    constexpr std::string_view letters = "\"\\bfnrt";
    if (const size_t at = plain.find(c); at != std::string_view::npos) {
        out += '\\';
        out += letters[at];
    } else {
        std::array<char, 8> code{};
        std::snprintf(code.data(), code.size(), "\\u%04x", static_cast<unsigned>(c));
        out += code.data();
    }
}

bool is_plain(unsigned char c) { return c >= 0x20 && c < 0x7f && c != '"' && c != '\\'; }

} // namespace

json_owner parse_json(std::string_view text) {
    if (text.size() > static_cast<size_t>(std::numeric_limits<int>::max()) / 2)
        throw input_error("too much JSON");
    const std::unique_ptr<json_tokener, tokener_release> tokener(json_tokener_new());
    json_tokener_set_flags(tokener.get(), JSON_TOKENER_STRICT | JSON_TOKENER_VALIDATE_UTF8 |
                                              JSON_TOKENER_ALLOW_TRAILING_CHARS);
    json_owner result(json_tokener_parse_ex(tokener.get(), text.data(), static_cast<int>(text.size())));
    json_tokener_error error = json_tokener_get_error(tokener.get());
    const size_t end = json_tokener_get_parse_end(tokener.get());
    if (error == json_tokener_continue) { // a number ends only where something else begins
        result.reset(json_tokener_parse_ex(tokener.get(), "\n", 1));
        error = json_tokener_get_error(tokener.get());
        if (error == json_tokener_continue)
            throw input_error(complaint(text, text.size(), "the JSON is not complete"));
    }
    if (error != json_tokener_success)
        throw input_error(complaint(text, end, json_tokener_error_desc(error)));
    if (const size_t rest = skip_blanks(text, end); rest < text.size())
        throw input_error(complaint(text, rest, "something follows the JSON"));
    return result;
}

std::string_view text_of(json_object *string) {
    return {json_object_get_string(string), static_cast<size_t>(json_object_get_string_len(string))};
}

size_t utf8_length(std::string_view text) {
    if (text.empty())
        return 0;
    const auto first = static_cast<unsigned char>(text[0]);
    const auto row = std::ranges::find_if(
        utf8_rows, [&](const utf8_row &each) { return each.first <= first && first <= each.last; });
    if (row == utf8_rows.end() || row->length > text.size())
        return 0;
    if (row->length == 1)
        return 1;
    const auto second = static_cast<unsigned char>(text[1]);
    const bool whole = row->second_least <= second && second <= row->second_most &&
                       std::ranges::all_of(text.substr(1, row->length - 1), is_continuation);
    return whole ? row->length : 0;
}

std::string answer_of(json_object *response) {
    const std::string_view text = json_object_to_json_string_ext(response, JSON_C_TO_STRING_PLAIN);
    std::string result;
    for (size_t at = 0, length = 0; at < text.size(); at += std::max<size_t>(length, 1)) {
        length = utf8_length(text.substr(at));
        result.append(length != 0 ? text.substr(at, length) : replacement);
    }
    return result;
}

std::string valid_utf8(std::string_view text) {
    std::string out;
    while (!text.empty()) {
        const size_t length = utf8_length(text);
        out += length > 0 ? text.substr(0, length) : replacement_character;
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return out;
}

void append_json(std::string &out, std::string_view text) {
    out += '"';
    for (size_t at = 0; at < text.size();) {
        size_t end = at;
        while (end < text.size() && is_plain(static_cast<unsigned char>(text[end])))
            ++end;
        out.append(text, at, end - at);
        at = end;
        if (at == text.size())
            break;
        const size_t length = utf8_length(text.substr(at));
        if (length > 1)
            out.append(text, at, length);
        else if (length == 1)
            append_escaped(out, text[at]);
        else
            out += replacement;
        at += std::max<size_t>(length, 1);
    }
    out += '"';
}

} // namespace plan
