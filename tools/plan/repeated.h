// SPDX-License-Identifier: Apache-2.0
// Members that a request has more than once.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace plan {

struct request_plan;

// The names that stand again in the object, of which only the last place counts, each once. text: valid JSON.
std::vector<std::string> repeated_members(std::string_view text);

// Says so in a plan, as a note; checking: as a key that is overridden.
void tell_repeated(request_plan &made, const std::vector<std::string> &names, bool checking);

} // namespace plan
