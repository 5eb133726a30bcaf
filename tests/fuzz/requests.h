// SPDX-License-Identifier: Apache-2.0
// Requests that an input describes.
#pragma once

#include "tests/fuzz/bytes.h"

#include <json-c/json.h>

#include <memory>

namespace fuzz {

struct json_release {
    void operator()(json_object *object) const { json_object_put(object); }
};
using json = std::unique_ptr<json_object, json_release>;

// An object as the daemon would pass it: any members, mostly such as a route looks at.
json draw_request(bytes &input);

} // namespace fuzz
