// SPDX-License-Identifier: Apache-2.0
// The companion plug-in: keeps what a white-label request says about the xwf feature.
//
// "/xwf/batch_set" (post) stores the request's members xwf_ssid, xwf_mode and xwf_url as options of the same
// names in the section "general" of the UCI package xwf. "/xwf/batch_get" (get) reports those that are stored
// as strings: the ones in the array "name", or all without "name". Results: 0, or 1 when the store could not
// be written.
#include "platform/zuutil.h"
#include "plugin/aerolink.h"

#include <json-c/json.h>
#include <string.h>

namespace {

struct setting {
    const char *key;
    const char *path;
};

// clang-format off
constexpr setting settings[] = {
    {"xwf_ssid", "xwf.general.xwf_ssid"},
    {"xwf_mode", "xwf.general.xwf_mode"},
    {"xwf_url",  "xwf.general.xwf_url"},
};
// clang-format on

constexpr size_t value_size = 4096; // what zuci2_get may write

class uci_context {
public:
    uci_context() : context_(zuci2_init()) {}
    ~uci_context() {
        if (context_ != nullptr)
            zuci2_free(context_);
    }
    uci_context(const uci_context &) = delete;
    uci_context &operator=(const uci_context &) = delete;
    operator zuci2_context *() const { return context_; }

private:
    zuci2_context *context_;
};

bool holds(json_object *names, const char *key) {
    if (!json_object_is_type(names, json_type_array))
        return false;
    for (size_t i = 0; i < json_object_array_length(names); ++i) {
        json_object *name = json_object_array_get_idx(names, i);
        if (json_object_is_type(name, json_type_string) && strcmp(json_object_get_string(name), key) == 0)
            return true;
    }
    return false;
}

// "name" is only looked at: its references are not ours, whoever forwarded the request.
int batch_get(json_object *in, json_object *out) {
    const uci_context context;
    json_object *names = json_object_object_get(in, "name");
    for (const setting &row : settings) {
        char value[value_size];
        if ((names == nullptr || holds(names, row.key)) && zuci2_get(context, row.path, value) == 0)
            zjson_add_string(out, row.key, value);
    }
    return 0;
}

int batch_set(json_object *in, json_object *) {
    const uci_context context;
    if (context == nullptr || zuci2_set(context, "xwf.general", "xwf") != 0)
        return 1;
    for (const setting &row : settings) {
        const char *value = zjson_get_string(in, row.key);
        if (value != nullptr && zuci2_set(context, row.path, value) != 0)
            return 1;
    }
    return zuci2_commit(context, "xwf") == 0 ? 0 : 1;
}

api_entity routes[] = {{"/xwf/batch_get", "get", batch_get}, {"/xwf/batch_set", "post", batch_set}};

} // namespace

api_entity *get_api_entity(uint32_t *count) {
    *count = sizeof routes / sizeof *routes;
    return routes;
}
