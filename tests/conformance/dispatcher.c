// SPDX-License-Identifier: Apache-2.0
// A plug-in that checks the daemon's side of platform/host.h: load it, and ask for GET
// /conformance/dispatcher. The result is 0 and the response {"custom_api_dispatcher": "ok"}, or -1 and in
// "ok"'s place what is wrong.
#include "platform/host.h"
#include "plugin/aerolink.h"

#include <json-c/json.h>
#include <stddef.h>

enum { ECHO_RESULT = -24, NO_ROUTE = -1 };

// What the dispatched handler was given.
static struct json_object *echo_in;
static struct json_object *echo_out;

static int echo(struct json_object *in, struct json_object *out) {
    echo_in = in;
    echo_out = out;
    json_object_object_add(out, "echo", json_object_new_boolean(1));
    return ECHO_RESULT;
}

// Null when all is well, else what is not.
static const char *complaint(struct json_object *in, struct json_object *out) {
    if (custom_api_dispatcher("/conformance/none", in, out) != NO_ROUTE)
        return "an unknown path does not give -1";
    if (json_object_object_length(out) != 0)
        return "an unknown path changes the response";
    echo_in = echo_out = NULL;
    const int result = custom_api_dispatcher("/conformance/echo", in, out);
    if (echo_in == NULL)
        return "the route does not run";
    if (echo_in != in || echo_out != out)
        return "the route gets other objects";
    if (result != ECHO_RESULT)
        return "the route's result is lost";
    if (!json_object_object_get_ex(out, "echo", NULL))
        return "what the route adds to the response is lost";
    return NULL;
}

static int check(struct json_object *in, struct json_object *out) {
    const char *what = complaint(in, out);
    json_object_object_del(out, "echo");
    json_object_object_add(out, "custom_api_dispatcher", json_object_new_string(what != NULL ? what : "ok"));
    return what == NULL ? 0 : -1;
}

struct api_entity *get_api_entity(uint32_t *count) {
    static struct api_entity routes[] = {
        {"/conformance/dispatcher", "get", check},
        {"/conformance/echo", "post", echo},
    };
    *count = sizeof routes / sizeof *routes;
    return routes;
}
