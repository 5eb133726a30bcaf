// SPDX-License-Identifier: Apache-2.0
// The loaded plug-in and the functions that it exports.
#include "devkit/rehearsal/rows.h"
#include "devkit/rehearsal/stage.h"

#include <dlfcn.h>
#include <string.h>

static void *plugin;

static const char *const handler_names[] = {
    "aerolink_ctrl_get",   "aerolink_ctrl_set",      "aerolink_unbind",     "aerolink_bind_info",
    "aerolink_log",        "aerolink_log_level_set", "aerolink_batch_set",  "aerolink_batch_get",
    "batch_get_wbf",       "batch_set_wbf",          "designated_customer", "batch_set_common",
    "batch_set_finch",     "batch_set_heron",        "batch_set_mt",        "batch_set_mt7615",
    "batch_set_heron_wbf", "batch_set_mt_wbf",       "get_customer_files",  "set_customer_files",
};
enum { handler_count = sizeof handler_names / sizeof *handler_names };

static struct stage_function_set functions;

// Stores the function's address in *function, a pointer to function: ISO C has no cast for it.
static void find_function(const char *name, void *function) {
    void *symbol = dlsym(plugin, name);
    memcpy(function, &symbol, sizeof symbol);
}

static void find_functions(void) {
    find_function("get_api_entity", &functions.get_api_entity);
    find_function("regex_exe", &functions.regex_exe);
    find_function("cmm_net_reachable2", &functions.cmm_net_reachable2);
    find_function("wbf_update_fw_type", &functions.wbf_update_fw_type);
    find_function("get_txpower_max_key", &functions.get_txpower_max_key);
    find_function("txpower_max_2g", &functions.txpower_max_2g);
    find_function("txpower_max_5g", &functions.txpower_max_5g);
    find_function("txpower_max_set", &functions.txpower_max_set);
    find_function("batch_set_pwd", &functions.batch_set_pwd);
    find_function("batch_set_language", &functions.batch_set_language);
    find_function("batch_set_default", &functions.batch_set_default);
}

const struct stage_function_set *stage_functions(void) { return &functions; }

const char *stage_load(const char *plugin_path) {
    plugin = dlopen(plugin_path, RTLD_NOW | RTLD_LOCAL);
    if (!plugin) {
        return dlerror();
    }
    if (rows_find(plugin)) {
        return dlerror();
    }
    find_functions();
    return NULL;
}

stage_handler *stage_route(const char *method, const char *path) {
    uint32_t count = 0;
    const struct api_entity *routes = functions.get_api_entity ? functions.get_api_entity(&count) : NULL;
    for (uint32_t i = 0; i < count; i++) {
        if (strcmp(routes[i].path, path) == 0 && (!method || strcmp(routes[i].method, method) == 0)) {
            return routes[i].handler;
        }
    }
    return NULL;
}

stage_handler *stage_handler_named(const char *name) {
    stage_handler *handler = NULL;
    for (size_t i = 0; i < handler_count; i++) {
        if (strcmp(handler_names[i], name) == 0) {
            find_function(name, &handler);
        }
    }
    return handler;
}

const char *stage_handler_name(stage_handler *handler) {
    for (size_t i = 0; i < handler_count; i++) {
        if (stage_handler_named(handler_names[i]) == handler) {
            return handler_names[i];
        }
    }
    return NULL;
}
