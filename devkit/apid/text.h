// Text rules: UTF-8, percent escapes, and what the JSON parser is too lenient about.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace apid {

bool is_utf8(std::string_view text);

// The text with U+FFFD for every byte that is no part of well-formed UTF-8.
std::string repair_utf8(std::string_view text);

// Decodes percent escapes in place and returns the new length. An escape that is malformed or stands for NUL
// stays as it is, so that the text always reaches to its end.
size_t decode_percent(char *text);

// For text that json-c takes in strict mode: whether it is also free of what json-c still lets pass (NaN,
// Infinity, 'quoted' strings, "1." for a number, raw control characters in a string) and of NUL characters,
// which would end the text early for a handler.
bool is_plain_json(std::string_view text);

} // namespace apid
