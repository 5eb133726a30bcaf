// SPDX-License-Identifier: Apache-2.0
// The calls: handlers with a request and a response, and the other exported functions with a list of
// arguments.
#include "tests/recorded/player/call.h"

#include "devkit/rehearsal/stage.h"
#include "tests/recorded/player/effects.h"
#include "tests/recorded/player/response.h"
#include "tests/recorded/player/world.h"

#include <json-c/json.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

void call_load_plugin(const char *path) {
    const char *error = stage_load(path);
    if (error) {
        refuse("%s", error);
    }
}

// --- Outcome -------------------------------------------------------------------------------------

static void print_state(void) {
    const struct stage_integer_set *integers = stage_integers();
    printf("batch_status=%d xwf_enable_flag=%d falcon_2g_5g_swap_done=%d\n", *integers->batch_status,
           *integers->xwf_enable_flag, *integers->falcon_2g_5g_swap_done);
}

static struct text configuration_before;

static void print_configuration(void) {
    struct text configuration = {0};
    uci_show(&configuration);
    bool unchanged = strcmp(text_string(&configuration), text_string(&configuration_before)) == 0;
    printf("[uci after]\n%s", unchanged ? "(unchanged)\n" : text_string(&configuration));
    text_free(&configuration);
    text_free(&configuration_before);
}

// response: the section's text, null for a function that has none.
static void print_outcome(int result, const struct text *response, enum stage_name_reference name) {
    printf("[result]\n%d\n", result);
    if (response) {
        printf("[response]\n%s", text_string(response));
    }
    struct text effects = {0};
    struct text violations = {0};
    effects_show(&effects);
    violations_show(&violations);
    printf("[effects]\n%s[state]\n", text_string(&effects));
    print_state();
    if (name == stage_name_kept || name == stage_name_released) {
        printf("name reference: %s\n", name == stage_name_kept ? "kept" : "released");
    }
    printf("%s", text_string(&violations));
    print_configuration();
    text_free(&effects);
    text_free(&violations);
}

// --- Handlers ------------------------------------------------------------------------------------

static void print_played(struct stage_result outcome) {
    struct text response = {0};
    response_show(&response, outcome.response);
    print_outcome(outcome.result, &response, outcome.name);
    text_free(&response);
}

static void run_handler(stage_handler *handler, struct json_object *request) {
    uci_show(&configuration_before);
    print_played(stage_play(handler, request));
    json_object_put(request);
}

// "batch_set_default model=MODEL dual=0"
static void run_batch_set_default(const char *header, struct json_object *request) {
    char model[64];
    int dual = 0;
    if (sscanf(header, "batch_set_default model=%63s dual=%d", model, &dual) != 2) {
        refuse("expected [call batch_set_default model=MODEL dual=0]");
    }
    uci_show(&configuration_before);
    print_played(stage_play_default(request, model, dual));
    json_object_put(request);
}

// "post /cloud/aerolink/set"
static void run_route(const char *header, struct json_object *request) {
    const char *space = strchr(header, ' ');
    char *method = copy_bytes(header, space ? (size_t)(space - header) : 0);
    stage_handler *handler = space ? stage_route(method, space + 1) : NULL;
    free(method);
    if (!handler) {
        refuse("no such route: %s", header);
    }
    run_handler(handler, request);
}

// --- Other functions -----------------------------------------------------------------------------

static void end_call(int result, const struct text *response) {
    stage_end();
    print_outcome(result, response, stage_name_absent);
}

static void expect_arguments(struct json_object *arguments, size_t count) {
    if (!json_object_is_type(arguments, json_type_array) || json_object_array_length(arguments) != count) {
        refuse("expected an array of %zu arguments", count);
    }
}

static const char *text_argument(struct json_object *arguments, size_t index) {
    struct json_object *argument = json_object_array_get_idx(arguments, index);
    if (argument && !json_object_is_type(argument, json_type_string)) {
        refuse("argument %zu must be a string or null", index + 1);
    }
    return json_object_get_string(argument);
}

static int integer_argument(struct json_object *arguments, size_t index) {
    struct json_object *argument = json_object_array_get_idx(arguments, index);
    if (!json_object_is_type(argument, json_type_int)) {
        refuse("argument %zu must be an integer", index + 1);
    }
    return json_object_get_int(argument);
}

static void run_regex_exe(struct json_object *arguments) {
    expect_arguments(arguments, 2);
    end_call(stage_functions()->regex_exe(text_argument(arguments, 0), text_argument(arguments, 1)), NULL);
}

static void run_cmm_net_reachable2(struct json_object *arguments) {
    expect_arguments(arguments, 0);
    end_call(stage_functions()->cmm_net_reachable2(), NULL);
}

static void run_wbf_update_fw_type(struct json_object *arguments) {
    expect_arguments(arguments, 0);
    end_call(stage_functions()->wbf_update_fw_type(), NULL);
}

static void run_batch_set_pwd(struct json_object *arguments) {
    expect_arguments(arguments, 1);
    end_call(stage_functions()->batch_set_pwd(text_argument(arguments, 0)), NULL);
}

static void run_batch_set_language(struct json_object *arguments) {
    expect_arguments(arguments, 1);
    end_call(stage_functions()->batch_set_language(text_argument(arguments, 0)), NULL);
}

static void run_txpower_max_2g(struct json_object *arguments) {
    expect_arguments(arguments, 2);
    end_call(stage_functions()->txpower_max_2g(integer_argument(arguments, 0), text_argument(arguments, 1)),
             NULL);
}

static void run_txpower_max_5g(struct json_object *arguments) {
    expect_arguments(arguments, 2);
    end_call(stage_functions()->txpower_max_5g(integer_argument(arguments, 0), text_argument(arguments, 1)),
             NULL);
}

static void run_txpower_max_set(struct json_object *arguments) {
    expect_arguments(arguments, 3);
    end_call(stage_functions()->txpower_max_set(text_argument(arguments, 0), text_argument(arguments, 1),
                                                text_argument(arguments, 2)),
             NULL);
}

enum { largest_out = 512, guard_size = 64, guard_byte = 0x5a };

static bool is_guarded(const char *bytes, size_t length) {
    for (size_t i = 0; i < length; i++) {
        if (bytes[i] != guard_byte) {
            return false;
        }
    }
    return true;
}

// The response is the text in out after success. A size of null gives a null out.
static void run_get_txpower_max_key(struct json_object *arguments) {
    expect_arguments(arguments, 2);
    bool null_out = json_object_array_get_idx(arguments, 1) == NULL;
    int size = null_out ? largest_out : integer_argument(arguments, 1);
    if (size > largest_out) {
        refuse("the size may be %d at most", largest_out);
    }
    size_t room = size > 0 ? (size_t)size : 0;
    char out[largest_out + guard_size];
    memset(out, guard_byte, sizeof out);
    int result =
        stage_functions()->get_txpower_max_key(text_argument(arguments, 0), null_out ? NULL : out, size);
    if (!is_guarded(out + room, sizeof out - room)) {
        stage_add_violation("out was written behind its size");
    }
    struct text response = {0};
    if (result == 0) {
        text_show(&response, out, strnlen(out, room), notation_plain);
        text_add(&response, memchr(out, '\0', room) ? "\n" : " (no NUL)\n");
    }
    end_call(result, &response);
    text_free(&response);
}

// The response is the route table: METHOD PATH HANDLER; the result is its number of rows.
static void run_get_api_entity(struct json_object *arguments) {
    expect_arguments(arguments, 0);
    uint32_t count = 0;
    uint32_t count_again = 0;
    const struct api_entity *routes = stage_functions()->get_api_entity(&count);
    if (stage_functions()->get_api_entity(&count_again) != routes || count_again != count) {
        stage_add_violation("the second call gave another table");
    }
    struct text response = {0};
    for (uint32_t i = 0; i < count; i++) {
        const char *name = stage_handler_name(routes[i].handler);
        text_format(&response, "%s %s %s\n", routes[i].method, routes[i].path,
                    name ? name : "(not exported)");
    }
    end_call((int)count, &response);
    text_free(&response);
}

static void show_table(struct text *out, const struct stage_table *table) {
    const struct batch_entry *rows = table->rows;
    text_format(out, "%s\n", table->name);
    for (size_t row = 0; row < table->row_count; row++) {
        const char *pattern = rows[row].pattern ? rows[row].pattern : "-";
        text_format(out, "%zu %s %s ", row, rows[row].uci_path, rows[row].json_key);
        text_show(out, pattern, strlen(pattern), notation_plain);
        text_add(out, "\n");
    }
}

// The response is every batch table: ROW PATH KEY PATTERN; the result is their number.
static void run_tables(struct json_object *arguments) {
    expect_arguments(arguments, 0);
    struct text response = {0};
    size_t count = 0;
    const struct stage_table *tables = stage_tables(&count);
    for (size_t i = 0; i < count; i++) {
        show_table(&response, &tables[i]);
    }
    end_call((int)count, &response);
    text_free(&response);
}

// --- Choice --------------------------------------------------------------------------------------

static const struct {
    const char *name;
    void (*run)(struct json_object *arguments);
} functions[] = {
    {"regex_exe", run_regex_exe},
    {"cmm_net_reachable2", run_cmm_net_reachable2},
    {"wbf_update_fw_type", run_wbf_update_fw_type},
    {"batch_set_pwd", run_batch_set_pwd},
    {"batch_set_language", run_batch_set_language},
    {"get_txpower_max_key", run_get_txpower_max_key},
    {"txpower_max_2g", run_txpower_max_2g},
    {"txpower_max_5g", run_txpower_max_5g},
    {"txpower_max_set", run_txpower_max_set},
    {"get_api_entity", run_get_api_entity},
    {"tables", run_tables},
};

static bool run_function(const char *name, struct json_object *arguments) {
    for (size_t i = 0; i < sizeof functions / sizeof *functions; i++) {
        if (strcmp(functions[i].name, name) == 0) {
            uci_show(&configuration_before);
            stage_begin();
            functions[i].run(arguments);
            json_object_put(arguments);
            return true;
        }
    }
    return false;
}

void call_run(const char *header, struct json_object *request) {
    if (strncmp(header, "batch_set_default ", 18) == 0) {
        run_batch_set_default(header, request);
    } else if (strchr(header, '/')) {
        run_route(header, request);
    } else if (!run_function(header, request)) {
        stage_handler *handler = stage_handler_named(header);
        if (!handler) {
            refuse("unknown function: %s", header);
        }
        run_handler(handler, request);
    }
}
