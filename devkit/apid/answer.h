// SPDX-License-Identifier: Apache-2.0
// Answers whole requests: runs the route's handler.
#pragma once

#include "devkit/apid/reply.h"

namespace apid {

struct request;
struct route;

reply answer(const request &asked, const route &target);

} // namespace apid
