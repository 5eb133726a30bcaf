// SPDX-License-Identifier: Apache-2.0
// The JSON helpers and other plug-ins' routes, and the limits of a call.
#include "devkit/rehearsal/platform.h"
#include "devkit/rehearsal/record.h"
#include "devkit/rehearsal/rows.h"
#include "devkit/rehearsal/stage.h"
#include "devkit/rehearsal/world_state.h"
#include "platform/host.h"
#include "platform/zuutil.h"

#include <json-c/json.h>

static bool on;
static struct json_object *call_request;
static struct json_object *call_response;

bool platform_is_on(void) { return on; }

void platform_begin_call(struct json_object *request, struct json_object *response) {
    on = true;
    call_request = request;
    call_response = response;
}

void platform_end_call(void) {
    on = false;
    platform_end_contexts();
    platform_end_streams();
    rows_check_values();
}

static void tell(struct json_object *object, const char *key) {
    if (object == call_request && world.listener) {
        world.listener(world.listener_context, key);
    }
}

static struct json_object *member(struct json_object *object, const char *key) {
    struct json_object *value = NULL;
    tell(object, key);
    json_object_object_get_ex(object, key, &value);
    return value;
}

const char *zjson_get_string(struct json_object *object, const char *key) {
    rows_may_change();
    return json_object_get_string(member(object, key));
}

int zjson_get_boolean(struct json_object *object, const char *key) {
    return json_object_get_boolean(member(object, key));
}

int zjson_contain_key(struct json_object *object, const char *key) {
    tell(object, key);
    return json_object_object_get_ex(object, key, NULL);
}

// Stands for a text that the plug-in must not hand over.
static struct json_object *new_string(const char *value, const char *key) {
    if (!value) {
        stage_add_violation("null text added to the response: %s", key);
        return NULL;
    }
    return json_object_new_string(value);
}

void zjson_add_string(struct json_object *object, const char *key, const char *value) {
    json_object_object_add(object, key, new_string(value, key));
}

void zjson_add_int(struct json_object *object, const char *key, int value) {
    json_object_object_add(object, key, json_object_new_int(value));
}

void zjson_add_boolean(struct json_object *object, const char *key, int value) {
    json_object_object_add(object, key, json_object_new_boolean(value));
}

void zjson_add_object(struct json_object *object, const char *key, struct json_object *value) {
    json_object_object_add(object, key, value);
}

void zjson_array_add_string(struct json_object *array, const char *value) {
    json_object_array_add(array, new_string(value, "an array's element"));
}

int custom_api_dispatcher(const char *path, struct json_object *request, struct json_object *response) {
    record(stage_dispatch, stage_done, path);
    if (request != call_request || response != call_response) {
        stage_add_violation("dispatched with other objects than the call's: %s", path);
    }
    return world.dispatcher ? world.dispatcher(world.dispatcher_context, path, request, response) : -1;
}
