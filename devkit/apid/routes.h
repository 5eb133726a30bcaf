// SPDX-License-Identifier: Apache-2.0
// The routes of all loaded plug-ins. They stay loaded for the life of the process.
#pragma once

#include <string>
#include <string_view>

struct json_object;

namespace apid {

struct route {
    std::string method; // "GET" or "POST"
    int (*handler)(json_object *request, json_object *response);
    std::string plugin; // the file that it came from
};

// Loads a plug-in and adds its routes. Throws startup_error, which names the file and the reason, and the
// path where a route is at fault.
void load_plugin(const std::string &file);

// Null when no plug-in has the path.
const route *find_route(std::string_view path);

} // namespace apid
