// Text in fixed buffers whose size the type carries.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

// Formats into out; false when the result did not fit, and out must then not be used.
template <size_t N>
[[nodiscard, gnu::format(printf, 2, 3)]] bool format(char (&out)[N], const char *pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    int length = vsnprintf(out, N, pattern, arguments);
    va_end(arguments);
    return length >= 0 && static_cast<size_t>(length) < N;
}

// Copies text into size bytes and cuts what does not fit.
inline void copy_cut(char *out, size_t size, const char *text) {
    size_t length = strnlen(text, size - 1);
    memcpy(out, text, length);
    out[length] = '\0';
}

inline bool equal(const char *left, const char *right) { return strcmp(left, right) == 0; }
