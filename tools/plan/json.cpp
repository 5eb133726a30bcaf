// SPDX-License-Identifier: Apache-2.0
// JSON in and out.
#include "tools/plan/json.h"

#include "devkit/apid/json.h"
#include "devkit/apid/text.h"
#include "tools/plan/snapshot.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <limits>

namespace plan {

namespace {

struct tokener_release {
    void operator()(json_tokener *tokener) const { json_tokener_free(tokener); }
};

// "line 3, column 7: reason"; a text without line ends has no line to be named.
std::string complaint(std::string_view text, size_t at, const std::string &reason) {
    at = std::min(at, text.size());
    const std::string_view before = text.substr(0, at);
    const size_t line = static_cast<size_t>(std::ranges::count(before, '\n')) + 1;
    const size_t column = at - (before.rfind('\n') + 1) + 1;
    const bool one_line = text.find('\n') == std::string_view::npos;
    return (one_line ? "" : "line " + std::to_string(line) + ", ") + "column " + std::to_string(column) +
           ": " + reason;
}

size_t skip_blanks(std::string_view text, size_t at) {
    const size_t found = text.find_first_not_of(" \t\r\n", at);
    return found == std::string_view::npos ? text.size() : found;
}

constexpr std::string_view replacement = "\xef\xbf\xbd"; // U+FFFD
constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";

// What only json-c takes for JSON, in words.
std::string reason_of(std::string_view rest) {
    if (rest.starts_with('\''))
        return "JSON has strings in double quotes only";
    if (rest.starts_with('N') || rest.starts_with('I'))
        return "JSON has no number of this name";
    if (rest.starts_with('\\'))
        return "a NUL character";
    return static_cast<unsigned char>(rest[0]) < 0x20 ? "a control character in a string"
                                                      : "JSON has no such number";
}

// The half of a pair that the text begins with, as \\uXXXX; 0 when it begins with none of that kind.
unsigned surrogate(std::string_view text, unsigned kind) {
    unsigned code = 0;
    if (text.size() < 6 || !text.starts_with("\\u"))
        return 0;
    const auto read = std::from_chars(text.data() + 2, text.data() + 6, code, 16);
    return read.ptr == text.data() + 6 && (code & 0xfc00U) == kind ? code : 0;
}

void append_utf8(std::string &out, unsigned point) {
    out += static_cast<char>(0xf0U | point >> 18);
    for (const unsigned shift : {12U, 6U, 0U})
        out += static_cast<char>(0x80U | (point >> shift & 0x3fU));
}

// Characters beyond U+FFFF as they are instead of as two escapes: json-c 0.16 reads those whose low 16 bits
// look like half a pair, U+1D801 for one, as U+FFFD.
std::string decode_pairs(std::string_view text) {
    std::string out;
    for (size_t at = 0; at < text.size();) {
        const size_t plain = std::min(text.find('\\', at), text.size());
        out.append(text, at, plain - at);
        const unsigned high = surrogate(text.substr(plain), 0xd800);
        const unsigned low = high != 0 ? surrogate(text.substr(plain + 6), 0xdc00) : 0;
        if (low != 0)
            append_utf8(out, 0x10000U + ((high & 0x3ffU) << 10) + (low & 0x3ffU));
        else
            out.append(text.substr(plain, 2));
        at = plain + (low != 0 ? 12 : 2);
    }
    return out;
}

void expect_plain(std::string_view text, size_t end, bool takes_nul) {
    const size_t plain = apid::plain_json_length(text.substr(0, end), takes_nul);
    if (plain < end)
        throw input_error(complaint(text, plain, reason_of(text.substr(plain))));
}

void expect_utf8(std::string_view text) {
    if (text.starts_with(byte_order_mark))
        throw input_error(complaint(text, 0, "a byte order mark before the JSON"));
    if (const size_t good = apid::utf8_length(text); good < text.size())
        throw input_error(complaint(text, good, "no UTF-8"));
}

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

json_owner parse_json(std::string_view text, json_use use) {
    if (text.size() > static_cast<size_t>(std::numeric_limits<int>::max()) / 2)
        throw input_error("too much JSON");
    expect_utf8(text);
    std::string decoded;
    if (use == json_use::device && text.find("\\u") != std::string_view::npos)
        text = decoded = decode_pairs(text);
    // To json-c the value is a level too, and so is the device around its own request.
    const int levels = apid::max_nesting + (use == json_use::request ? 1 : 2);
    const std::unique_ptr<json_tokener, tokener_release> tokener(json_tokener_new_ex(levels));
    json_tokener_set_flags(tokener.get(), JSON_TOKENER_STRICT | JSON_TOKENER_ALLOW_TRAILING_CHARS);
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
    expect_plain(text, std::min(end, text.size()), use == json_use::device);
    return result;
}

std::string_view text_of(json_object *string) {
    return {json_object_get_string(string), static_cast<size_t>(json_object_get_string_len(string))};
}

std::string answer_of(json_object *response) {
    return apid::repair_utf8(json_object_to_json_string_ext(response, JSON_C_TO_STRING_PLAIN));
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
        const size_t length = apid::utf8_character(text.substr(at));
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
