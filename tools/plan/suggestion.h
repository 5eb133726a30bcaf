// SPDX-License-Identifier: Apache-2.0
// "Did you mean".
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace plan {

// The candidate that the word is most likely a misspelling of; "" when none is near.
std::string nearest(std::string_view word, std::span<const std::string> candidates);

// The same of names in parts, as "guest_2g_ssid" is. Neither case nor blanks around the word count; a
// candidate that begins or ends with the word goes before one that only resembles it, and one that means the
// opposite
// ("2g_disable" for "2g_enable") is never given. Of equals the first.
std::string_view nearest_key(std::string_view word, std::span<const std::string_view> candidates);

} // namespace plan
