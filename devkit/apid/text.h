// SPDX-License-Identifier: Apache-2.0
// Text rules: UTF-8, percent escapes, and what the JSON parser is too lenient about.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace apid {

// Bytes of the UTF-8 character that the text begins with; 0 when it begins with none.
size_t utf8_character(std::string_view text);

// Bytes up to the first one that is no part of well-formed UTF-8.
size_t utf8_length(std::string_view text);

bool is_utf8(std::string_view text);

// The text with U+FFFD for every byte that is no part of well-formed UTF-8.
std::string repair_utf8(std::string_view text);

// A control character of ASCII other than the tabulator, and whether a text has one.
bool is_control(char c);
bool has_control(std::string_view text);

// Decodes percent escapes. An escape that is malformed or stands for NUL stays as it is, so that the text has
// no end before its last byte.
std::string decode_percent(std::string_view text);

// Without regard to the case of ASCII letters.
bool equal_ignoring_case(std::string_view a, std::string_view b);

// For text that json-c takes in strict mode: bytes up to the first one that only json-c lets pass (NaN,
// Infinity, 'quoted' strings, "1." or "-01" for a number, raw control characters in a string), or the escape
// of a NUL character, which would end the text early for a handler. The text's own size when all of it is
// plain.
size_t plain_json_length(std::string_view text, bool takes_nul = false);

inline bool is_plain_json(std::string_view text) { return plain_json_length(text) == text.size(); }

} // namespace apid
