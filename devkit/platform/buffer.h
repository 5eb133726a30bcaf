// SPDX-License-Identifier: Apache-2.0
// Copies into the caller's buffers, whose size no platform function is told.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

// Every such buffer has at least this many bytes.
constexpr size_t buffer_size = 4096;

// Copies the text and a NUL, cut to the buffer.
inline void copy_cut(std::string_view text, char *buffer) {
    const std::string_view kept = text.substr(0, buffer_size - 1);
    std::ranges::copy(kept, buffer);
    buffer[kept.size()] = '\0';
}
