// SPDX-License-Identifier: Apache-2.0
// Texts that the plug-in may meet anywhere: in a request, an option, a file, a command's output.
#pragma once

#include "tests/fuzz/bytes.h"

#include <string>
#include <string_view>

namespace fuzz {

// One of a few hundred: what is common, what is hostile, and lengths around every buffer's size. The text
// stays valid.
const std::string &text_of(size_t choice);

inline const std::string &draw_text(bytes &input) {
    const size_t high = input.next();
    return text_of(high * 256 + input.next());
}

} // namespace fuzz
