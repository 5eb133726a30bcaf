// SPDX-License-Identifier: Apache-2.0
// One request and its response, from the handler's call to the reply's text.
#pragma once

#include "devkit/apid/json.h"

#include <string>

namespace apid {

struct route;

struct outcome {
    int result;
    std::string body; // {"result": N, "response": {...}}, always valid UTF-8
};

// Runs the route's handler on the request and an empty response. std::bad_alloc when the response does not
// fit into memory; the handler has run then.
outcome exchange(const route &target, json_ptr request, json_ptr response);

} // namespace apid
