// SPDX-License-Identifier: Apache-2.0
// The companion plug-in, whose routes the plug-in forwards requests to.
#pragma once

#include <string>

struct api_entity;
struct json_object;

namespace plan {

class companion_plugin {
public:
    // "": no companion. Throws input_error when the file is no plug-in.
    explicit companion_plugin(const std::string &file);

    // The route's result; -1 and an untouched response when the companion has no such route.
    int run(const char *path, json_object *request, json_object *response) const;

private:
    api_entity *routes_ = nullptr;
    size_t count_ = 0;
};

} // namespace plan
