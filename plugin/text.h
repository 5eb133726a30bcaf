// Text in fixed buffers whose size the type carries.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>

// Formats into out, an array; false when the result did not fit, and out must then not be used.
[[nodiscard, gnu::format(printf, 2, 3)]] bool format(std::span<char> out, const char *pattern, ...);

// Copies text into size bytes and cuts what does not fit.
inline void copy_cut(char *out, size_t size, const char *text) {
    size_t length = strnlen(text, size - 1);
    memcpy(out, text, length);
    out[length] = '\0';
}

inline bool equal(const char *left, const char *right) { return strcmp(left, right) == 0; }
