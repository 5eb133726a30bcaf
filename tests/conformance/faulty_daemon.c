// SPDX-License-Identifier: Apache-2.0
// A daemon of one request, which its dispatcher answers as the contract says or with one of several faults:
// runs the first route of a plug-in and prints the response. Usage: faulty_daemon PLUGIN FAULT, where FAULT
// "none" is none.
#include "platform/host.h"
#include "plugin/aerolink.h"

#include <dlfcn.h>
#include <json-c/json.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>

static const char *wanted_fault;
static struct api_entity *routes;
static uint32_t route_count;

static bool fault(const char *name) { return strcmp(wanted_fault, name) == 0; }

static const struct api_entity *find_route(const char *path) {
    for (uint32_t i = 0; i < route_count; ++i)
        if (strcmp(routes[i].path, path) == 0)
            return &routes[i];
    return NULL;
}

// The response gets what it should: only the identity of the objects is wrong.
static int run_with_another_response(const struct api_entity *route, struct json_object *request,
                                     struct json_object *response) {
    struct json_object *other = json_object_new_object();
    const int result = route->handler(request, other);
    json_object_object_add(response, "echo", json_object_get(json_object_object_get(other, "echo")));
    json_object_put(other);
    return result;
}

__attribute__((visibility("default"))) int
custom_api_dispatcher(const char *path, struct json_object *request, struct json_object *response) {
    const struct api_entity *route = find_route(path);
    if (route == NULL) {
        if (fault("response of an unknown path"))
            json_object_object_add(response, "error", json_object_new_string("not found"));
        return fault("result of an unknown path") ? 0 : -1;
    }
    if (fault("route"))
        return 0;
    const int result = fault("objects") ? run_with_another_response(route, request, response)
                                        : route->handler(request, response);
    if (fault("added member"))
        json_object_object_del(response, "echo");
    return fault("result") ? 0 : result;
}

int main(int count, char **words) {
    void *plugin = count == 3 ? dlopen(words[1], RTLD_NOW) : NULL;
    struct api_entity *(*entry)(uint32_t *) = NULL;
    if (plugin != NULL)
        *(void **)&entry = dlsym(plugin, "get_api_entity");
    if (entry == NULL)
        return 2;
    wanted_fault = words[2];
    routes = entry(&route_count);
    struct json_object *request = json_object_new_object();
    struct json_object *response = json_object_new_object();
    const int result = routes[0].handler(request, response);
    puts(json_object_to_json_string(response));
    json_object_put(request);
    json_object_put(response);
    return result == 0 ? 0 : 1;
}
