// SPDX-License-Identifier: Apache-2.0
// What becomes of each member of a request, and why nothing comes of some.
#pragma once

#include "tools/plan/plan.h"

namespace plan {

// One row a member, in the request's order. To be called right after the play that `made` was taken from.
std::vector<key_outcome> outcomes_of(rehearsal &stage, const snapshot &device, const route &asked,
                                     json_object *request, const request_plan &made);

} // namespace plan
