// SPDX-License-Identifier: Apache-2.0
// What a request's JSON is, from the grammar of RFC 8259 alone.
#pragma once

#include <string_view>

namespace fuzz {

// Whether the text is one JSON object, of UTF-8 without overlong forms and surrogates, no more than
// max_nesting objects and arrays deep, and, unless NULs are fine, without the escape for one.
bool is_json_object(std::string_view text, int max_nesting, bool nuls_are_fine = false);

} // namespace fuzz
