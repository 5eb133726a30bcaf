// SPDX-License-Identifier: Apache-2.0
// Which values of a key are acceptable, found by trying.
#pragma once

#include "tools/plan/inquiry.h"

#include <optional>
#include <string>

namespace plan {

// "8 to 63 bytes" for a pattern that is about nothing but the length.
std::optional<std::string> length_rule(const std::string &pattern);

// Whether neither a letter more nor one less than a good value is acceptable: only certain words are.
bool is_one_of_few(inquiry &asked, const std::string &key, const std::string &good);

// The length of the longest beginning of the text that has an effect; nothing when none has.
std::optional<size_t> longest_start(inquiry &asked, const std::string &key, const std::string &text);

// The length from which on the text, with a good value behind it, has an effect; nothing when it never has.
std::optional<size_t> shortest_extension(inquiry &asked, const std::string &key, const std::string &text,
                                         const std::string &good);

} // namespace plan
