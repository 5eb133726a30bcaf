// SPDX-License-Identifier: Apache-2.0
// Plans for a stream of devices.
#pragma once

#include "tools/plan/options.h"
#include "tools/plan/rehearsal.h"

namespace plan {

struct stream_sum {
    size_t lines = 0;   // that were not blank
    size_t bad = 0;     // that were no device, or had no request
    bool found = false; // a key that has no effect
};

// Reads standard input to its end and answers each line on standard output, at the latest before it waits for
// more. Throws input_error when it cannot go on.
stream_sum run_stream(rehearsal &stage, const plan_options &chosen);

} // namespace plan
