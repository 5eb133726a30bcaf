// SPDX-License-Identifier: Apache-2.0
// The stage: plays the plug-in in a world in memory and records what it does there.
//
// There is one stage in a process, as there is one plug-in: both keep state of their own. The program that
// uses it exports the platform functions and those of the C library that have an effect (rehearsal_use_stage
// in CMakeLists.txt sees to that). During a call they act on the world; outside of one the C library's own
// run, but for those that start commands, which end the program.
#pragma once

#include "devkit/rehearsal/effects.h"
#include "devkit/rehearsal/world.h"
#include "plugin/aerolink.h"

#ifdef __cplusplus
extern "C" {
#endif

// --- The plug-in ---------------------------------------------------------------------------------

// Loads the plug-in, once in a process. Null, or what is wrong.
const char *stage_load(const char *plugin_path);

typedef int stage_handler(struct json_object *in, struct json_object *out);

// The handler of a route; method null: any. Null when there is no such route.
stage_handler *stage_route(const char *method, const char *path);

// An exported function that takes a request and a response, by its name. Null when it is none or is not
// exported.
stage_handler *stage_handler_named(const char *name);
const char *stage_handler_name(stage_handler *handler); // null when it has none

// The exported functions of other types; null where the plug-in lacks one. To be called between stage_begin
// and stage_end.
struct stage_function_set {
    struct api_entity *(*get_api_entity)(uint32_t *count);
    int (*regex_exe)(const char *pattern, const char *text);
    int (*cmm_net_reachable2)(void);
    int (*wbf_update_fw_type)(void);
    int (*get_txpower_max_key)(const char *path, char *out, int size);
    int (*txpower_max_2g)(int level, const char *path);
    int (*txpower_max_5g)(int level, const char *path);
    int (*txpower_max_set)(const char *key, const char *value, const char *path);
    int (*batch_set_pwd)(const char *password);
    int (*batch_set_language)(const char *code);
    int (*batch_set_default)(struct json_object *in, struct json_object *out, struct zuci2_context *ctx,
                             const char *model, int dual);
};
const struct stage_function_set *stage_functions(void);

struct stage_table {
    const char *name;
    struct batch_entry *rows;
    size_t row_count;
};
const struct stage_table *stage_tables(size_t *count); // every batch table

// The exported integers; a play may set them.
struct stage_integer_set {
    int *batch_status, *xwf_enable_flag, *falcon_2g_5g_swap_done;
};
const struct stage_integer_set *stage_integers(void);

// --- Calls ---------------------------------------------------------------------------------------

// What became of the reference of the request's "name" that a read by name releases.
enum stage_name_reference {
    stage_name_absent, // the request had none
    stage_name_kept,
    stage_name_released,
    stage_name_lost, // released more than once, or one more kept: a violation
};

struct stage_result {
    int result;
    struct json_object
        *response; // null for a function that has none; belongs to the stage, valid as the effects are
    enum stage_name_reference name;
};

// Calls a handler with a copy of the request (null: a null pointer) and an empty response, and checks around
// it what the daemon relies on: references, an unchanged request, contexts and streams closed, value slots
// null.
struct stage_result stage_play(stage_handler *handler, struct json_object *request);

// The same with batch_set_default, on a context that the stage opens and closes.
struct stage_result stage_play_default(struct json_object *request, const char *model, int dual);

// Brackets calls of other exported functions, with the same checks. Effects begin anew at stage_begin.
void stage_begin(void);
void stage_end(void);

// Adds to the violations of the call that runs.
__attribute__((format(printf, 1, 2))) void stage_add_violation(const char *format, ...);

// Seconds that the last call waited: the sum over its effects.
int stage_seconds(void);

// --- Putting back --------------------------------------------------------------------------------

// Takes the world and the plug-in's state (integers, tables) as they are now for what stage_put_back returns
// to. There is one mark; a later one replaces it.
void stage_mark(void);
void stage_put_back(void);

// Forgets the mark, the effects and the world, and gives the plug-in the state that it was loaded with.
void stage_clear(void);

#ifdef __cplusplus
}
#endif
