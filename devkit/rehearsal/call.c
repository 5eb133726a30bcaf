// SPDX-License-Identifier: Apache-2.0
// Calls of the plug-in, and what is checked around them.
#include "devkit/rehearsal/platform.h"
#include "devkit/rehearsal/record.h"
#include "devkit/rehearsal/rows.h"
#include "devkit/rehearsal/stage.h"
#include "devkit/rehearsal/world_state.h"
#include "platform/zuutil.h"

#include <json-c/json.h>
#include <stdlib.h>

// References that the stage holds for the time of a call, so that one that the handler releases can be
// counted without the object being freed.
enum { held_references = 8 };

static void hold(struct json_object *object) {
    for (int i = 0; i < held_references; i++) {
        json_object_get(object);
    }
}

// Gives back the stage's own reference and the held ones. How many of them the handler had released; negative
// when it has kept some.
static int release(struct json_object *object) {
    int references = 1;
    while (object && json_object_put(object) != 1) {
        references++;
    }
    return held_references + 1 - references;
}

struct call {
    struct json_object *asked, *request, *name, *response;
};

static struct json_object *answered; // by the last call

static struct json_object *copy_of(struct json_object *request) {
    struct json_object *copy = NULL;
    if (request && json_object_deep_copy(request, &copy, NULL) != 0) {
        abort();
    }
    return copy;
}

static struct json_object *name_member(struct json_object *request) {
    struct json_object *name = NULL;
    json_object_object_get_ex(request, "name", &name);
    return name;
}

static void begin(struct json_object *request, struct json_object *response) {
    json_object_put(answered);
    answered = NULL;
    record_clear();
    rows_may_change();
    platform_begin_call(request, response);
}

void stage_begin(void) { begin(NULL, NULL); }

void stage_end(void) { platform_end_call(); }

static struct call begin_handler(struct json_object *request) {
    struct json_object *copy = copy_of(request);
    struct call call = {request, copy, name_member(copy), json_object_new_object()};
    hold(call.request);
    hold(call.name);
    hold(call.response);
    begin(call.request, call.response);
    return call;
}

static enum stage_name_reference name_reference(int released) {
    if (released != 0 && released != 1) {
        stage_add_violation("name reference: released %d times", released);
        return stage_name_lost;
    }
    return released == 0 ? stage_name_kept : stage_name_released;
}

// Takes the name out of the request, whose reference it gives back, and reports what became of the
// references.
static enum stage_name_reference settle_request(struct json_object *request, struct json_object *name) {
    enum stage_name_reference what = stage_name_absent;
    if (name) {
        json_object_get(name); // stands for the request's own, which the removal gives back
        json_object_object_del(request, "name");
        what = name_reference(release(name));
    }
    if (request && release(request) != 0) {
        stage_add_violation("a reference of the request was released or kept");
    }
    return what;
}

// Moves the members into an object of the stage's own.
static struct json_object *take_members(struct json_object *response) {
    struct json_object *taken = json_object_new_object();
    struct json_object_iter member;
    json_object_object_foreachC(response, member) {
        json_object_object_add(taken, member.key, json_object_get(member.val));
    }
    return taken;
}

static struct stage_result end_handler(const struct call *call, int result) {
    answered = take_members(call->response);
    if (!json_object_equal(call->request, call->asked)) {
        stage_add_violation("the request was changed");
    }
    struct stage_result outcome = {result, answered, settle_request(call->request, call->name)};
    if (release(call->response) != 0) {
        stage_add_violation("a reference of the response was released or kept");
    }
    platform_end_call();
    return outcome;
}

struct stage_result stage_play(stage_handler *handler, struct json_object *request) {
    struct call call = begin_handler(request);
    int result = handler(call.request, call.response);
    return end_handler(&call, result);
}

struct stage_result stage_play_default(struct json_object *request, const char *model, int dual) {
    struct call call = begin_handler(request);
    struct zuci2_context *ctx = zuci2_init();
    int result = stage_functions()->batch_set_default(call.request, call.response, ctx, model, dual);
    platform_free_own_context(ctx);
    return end_handler(&call, result);
}

// --- Putting back --------------------------------------------------------------------------------

static void forget_call(void) {
    json_object_put(answered);
    answered = NULL;
    record_clear();
}

void stage_mark(void) {
    world_mark();
    rows_mark();
}

void stage_put_back(void) {
    forget_call();
    world_put_back();
    rows_put_back();
}

void stage_clear(void) {
    forget_call();
    world_reset();
    rows_reset();
}
