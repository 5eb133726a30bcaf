// SPDX-License-Identifier: Apache-2.0
// Patterns that mean something, out of any bytes.
#pragma once

#include "tests/fuzz/bytes.h"

#include <string>

namespace fuzz {

// A pattern made of a piece for each byte, up to a line feed: nearly always one whose meaning is defined.
std::string grow_pattern(std::string_view choices);

// A text of the characters that such patterns tell apart.
std::string grow_text(std::string_view choices);

} // namespace fuzz
