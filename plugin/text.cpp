// SPDX-License-Identifier: Apache-2.0
// Formatting into fixed buffers.
#include "plugin/text.h"

#include <cstdarg>
#include <cstdio>

bool format(std::span<char> out, const char *pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    const int length = vsnprintf(out.data(), out.size(), pattern, arguments);
    va_end(arguments);
    return length >= 0 && static_cast<size_t>(length) < out.size();
}
