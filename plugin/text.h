// SPDX-License-Identifier: Apache-2.0
// Text in fixed buffers. A span stands for an array, whose size it carries.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>

// Formats into out; false when the result did not fit, and out must then not be used.
[[nodiscard, gnu::format(printf, 2, 3)]] bool format(std::span<char> out, const char *pattern, ...);

// Copies text into out and cuts what does not fit.
inline void copy_cut(std::span<char> out, const char *text) {
    const size_t length = strnlen(text, out.size() - 1);
    memcpy(out.data(), text, length);
    out[length] = '\0';
}

inline bool equal(const char *left, const char *right) { return strcmp(left, right) == 0; }
