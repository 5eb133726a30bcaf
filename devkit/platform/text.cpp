// SPDX-License-Identifier: Apache-2.0
// Text helpers: digest, shell escape, letter case.
#include "devkit/platform/interface.h"

#include <cstdint>
#include <cstring>
#include <string_view>

#include <sha256.h>

namespace {

// What the shell gives a meaning of its own in an unquoted word.
constexpr std::string_view special = " \t\n\v\f\r'\"\\$`!*?[]{}()<>|&;~#^";

template <typename Change>
void change_each(char *text, Change change) {
    if (text == nullptr)
        return;
    for (; *text != '\0'; ++text)
        *text = change(*text);
}

} // namespace

int sha256(const char *text, char *output) {
    if (text == nullptr || output == nullptr)
        return -1;
    SHA256Data(reinterpret_cast<const uint8_t *>(text), std::strlen(text), output);
    return 0;
}

int increase_escape_function(const char *source, char *destination, int length) {
    if (source == nullptr || destination == nullptr || length < 0)
        return -1;
    for (const char *end = source + length; source != end && *source != '\0'; ++source) {
        if (special.find(*source) != std::string_view::npos)
            *destination++ = '\\';
        *destination++ = *source;
    }
    *destination = '\0';
    return 0;
}

void str_to_upper(char *text) {
    change_each(text, [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
}

void str_to_lower(char *text) {
    change_each(text, [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
}
