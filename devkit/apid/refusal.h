// SPDX-License-Identifier: Apache-2.0
// What is refused by its request line and header, before any body is read.
#pragma once

#include "devkit/apid/request.h"

#include <optional>

namespace apid {

struct route;

// What leaves open who is asked, or where the request ends, so that nothing after it can be understood
// either: a header that is there twice, a missing Host, an odd length (400), an unknown transfer coding
// (501).
std::optional<reply> refuse_ambiguity(const request &asked);

// In this order: Host (421), Origin (403), token (401), path (404), method (405), content type of a post
// (415), announced size (413), an expectation (417). `target` is null for an unknown path; `local` is the
// connection's own end; an empty token stands for "no token wanted". Nothing when the request may go on.
std::optional<reply> refuse_request(const request &asked, const route *target, const endpoint &local,
                                    const std::string &token);

// Whether the client sends its body only after leave was given.
bool waits_for_leave(const request &asked);

} // namespace apid
