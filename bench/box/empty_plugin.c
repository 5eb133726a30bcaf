// SPDX-License-Identifier: Apache-2.0
// A plug-in that does nothing: what is left is the daemon's own work.
#include "plugin/aerolink.h"

static int do_nothing(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    return 0;
}

struct api_entity *get_api_entity(uint32_t *count) {
    static struct api_entity routes[] = {{"/empty", "get", do_nothing}};
    *count = 1;
    return routes;
}
