// SPDX-License-Identifier: Apache-2.0
// The companion plug-in, whose routes the plug-in forwards requests to.
#include "tools/plan/companion.h"

#include "plugin/aerolink.h"
#include "tools/plan/snapshot.h"

#include <dlfcn.h>
#include <span>
#include <string_view>

namespace plan {

companion_plugin::companion_plugin(const std::string &file) {
    if (file.empty())
        return;
    void *library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    void *entry = library == nullptr ? nullptr : dlsym(library, "get_api_entity");
    if (entry == nullptr)
        throw input_error(dlerror());
    uint32_t count = 0;
    routes_ = reinterpret_cast<decltype(get_api_entity) *>(entry)(&count);
    count_ = count;
}

int companion_plugin::run(const char *path, json_object *request, json_object *response) const {
    for (const api_entity &each : std::span(routes_, count_))
        if (std::string_view(each.path) == path)
            return each.handler(request, response);
    return -1;
}

} // namespace plan
