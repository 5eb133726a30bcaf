// Recording platform: the JSON helpers and the companion plug-in's routes.
#include "platform/host.h"
#include "platform/zuutil.h"
#include "tests/recorded/player/journal.h"
#include "tests/recorded/player/platform.h"
#include "tests/recorded/player/world.h"

#include <json-c/json.h>

static struct json_object *call_request;
static struct json_object *call_response;

void platform_begin_call(struct json_object *request, struct json_object *response) {
    call_request = request;
    call_response = response;
}

static struct json_object *member(struct json_object *object, const char *key) {
    struct json_object *value = NULL;
    json_object_object_get_ex(object, key, &value);
    return value;
}

const char *zjson_get_string(struct json_object *object, const char *key) {
    return json_object_get_string(member(object, key));
}

int zjson_get_boolean(struct json_object *object, const char *key) {
    return json_object_get_boolean(member(object, key));
}

int zjson_contain_key(struct json_object *object, const char *key) {
    return json_object_object_get_ex(object, key, NULL);
}

// Stands for a text that the plug-in must not hand over.
static struct json_object *new_string(const char *value, const char *key) {
    if (!value) {
        journal_violation("null text added to the response: %s", key);
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
    journal_effect("dispatch", path);
    if (request != call_request || response != call_response) {
        journal_violation("dispatched with other objects than the call's: %s", path);
    }
    struct json_object *members = answer_dispatch(path);
    if (!members) {
        return -1;
    }
    json_object_object_foreach(members, key, value) {
        json_object_object_add(response, key, json_object_get(value));
    }
    json_object_put(members);
    return 0;
}
