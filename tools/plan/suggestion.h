// SPDX-License-Identifier: Apache-2.0
// "Did you mean".
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace plan {

// The candidate that the word is most likely a misspelling of; "" when none is near.
std::string nearest(std::string_view word, std::span<const std::string> candidates);

} // namespace plan
