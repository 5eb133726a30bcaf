// SPDX-License-Identifier: Apache-2.0
// Plans to be read at a glance.
#pragma once

#include "tools/plan/plan.h"

#include <string>
#include <vector>

namespace plan {

struct text_style {
    bool colour = false;
    size_t width = 100; // columns
};

// How standard output is to be written to: with colour on a terminal that wants it, as wide as that is.
text_style style_of_output();

// Blocks, one for all models of which the same is to be said, and a sum at the end.
std::string to_text(const std::vector<request_plan> &made, const text_style &style);

// What a build server is told, a line a finding: "heron: 2g_key: refused: 8 to 63 bytes".
std::string findings_of(const request_plan &made);

// The same as JSON objects, one a line.
std::string findings_as_json(const request_plan &made);

} // namespace plan
