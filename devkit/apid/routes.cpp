// SPDX-License-Identifier: Apache-2.0
// Loads plug-ins and keeps their routes.
#include "devkit/apid/routes.h"

#include "devkit/apid/startup_error.h"
#include "plugin/aerolink.h"

#include <dlfcn.h>
#include <functional>
#include <map>

namespace apid {

namespace {

// Of the process, because custom_api_dispatcher is called without any context.
std::map<std::string, route, std::less<>> all_routes;

startup_error refusal(const std::string &file, const std::string &reason) {
    return {exit_failed, "plug-in " + file + ": " + reason};
}

std::string http_method(const std::string &method) {
    if (method == "get")
        return "GET";
    if (method == "post")
        return "POST";
    return "";
}

void add_route(const std::string &file, const api_entity &row) {
    if (row.path == nullptr || row.method == nullptr || row.handler == nullptr)
        throw refusal(file, "a route without path, method or handler");
    const std::string path = row.path;
    const std::string method = http_method(row.method);
    if (!path.starts_with('/'))
        throw refusal(file, "path " + path + " does not begin with a slash");
    if (method.empty())
        throw refusal(file, "path " + path + " has the unknown method " + row.method);
    const auto [place, is_new] = all_routes.try_emplace(path, route{method, row.handler, file});
    if (!is_new)
        throw refusal(file, "path " + path + " is already registered by " + place->second.plugin);
}

} // namespace

void load_plugin(const std::string &file) {
    // Without a slash, dlopen would search the library folders. Each plug-in sees its own libraries and the
    // daemon's exports, not the other plug-ins' names.
    const std::string path = file.find('/') == std::string::npos ? "./" + file : file;
    void *library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw refusal(file, std::string("cannot be loaded: ") + dlerror());
    const auto entities = reinterpret_cast<decltype(&get_api_entity)>(dlsym(library, "get_api_entity"));
    if (entities == nullptr)
        throw refusal(file, "has no get_api_entity");
    uint32_t count = 0;
    const api_entity *rows = entities(&count);
    if (rows == nullptr && count != 0)
        throw refusal(file, "get_api_entity gives no table");
    for (uint32_t row = 0; row < count; ++row)
        add_route(file, rows[row]);
}

const route *find_route(std::string_view path) {
    const auto found = all_routes.find(path);
    return found == all_routes.end() ? nullptr : &found->second;
}

} // namespace apid
