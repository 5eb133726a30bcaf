// SPDX-License-Identifier: Apache-2.0
// How a target says that a promise is broken.
#pragma once

#include <string_view>

namespace fuzz {

// Ends the program, for the engine to keep the input, unless the promise holds. The details say what was
// seen.
void expect(bool holds, const char *promise, std::string_view details = {});

// The text with escapes for what a terminal would not show.
void show(std::string_view label, std::string_view text);

} // namespace fuzz
