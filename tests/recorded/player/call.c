// The calls: handlers with a request and a response, and the other exported functions with a list of
// arguments.
#include "tests/recorded/player/call.h"

#include "platform/zuutil.h"
#include "plugin/aerolink.h"
#include "tests/recorded/player/journal.h"
#include "tests/recorded/player/platform.h"
#include "tests/recorded/player/response.h"
#include "tests/recorded/player/world.h"

#include <dlfcn.h>
#include <json-c/json.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef int handler_function(struct json_object *in, struct json_object *out);

static void *plugin;

// --- Exported names ------------------------------------------------------------------------------

static const char *const handler_names[] = {
    "aerolink_ctrl_get",   "aerolink_ctrl_set",      "aerolink_unbind",     "aerolink_bind_info",
    "aerolink_log",        "aerolink_log_level_set", "aerolink_batch_set",  "aerolink_batch_get",
    "batch_get_wbf",       "batch_set_wbf",          "designated_customer", "batch_set_common",
    "batch_set_finch",     "batch_set_heron",        "batch_set_mt",        "batch_set_mt7615",
    "batch_set_heron_wbf", "batch_set_mt_wbf",       "get_customer_files",  "set_customer_files",
};
enum { handler_count = sizeof handler_names / sizeof *handler_names };

static const struct table {
    const char *name;
    size_t rows;
} tables[] = {
#define TABLE(name)                                                                                          \
    { #name, sizeof(name) / sizeof(struct batch_entry) }
    TABLE(batch_list_common), TABLE(batch_list1),       TABLE(batch_list2),
    TABLE(batch_list_ardea),  TABLE(batch_list_mt76x8), TABLE(batch_list_mt7615),
    TABLE(batch_list_finch),  TABLE(batch_list_wbf),    TABLE(batch_list_wbf1),
#undef TABLE
};
enum { table_count = sizeof tables / sizeof *tables };

static void *exported_object(const char *name) {
    void *symbol = dlsym(plugin, name);
    if (!symbol) {
        refuse("the plug-in does not export %s", name);
    }
    return symbol;
}

// Stores the function's address in *function, a pointer to function: ISO C has no cast for it.
static void exported_function(const char *name, void *function) {
    void *symbol = exported_object(name);
    memcpy(function, &symbol, sizeof symbol);
}

void call_load_plugin(const char *path) {
    plugin = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!plugin) {
        refuse("%s", dlerror());
    }
    for (size_t i = 0; i < table_count; i++) {
        exported_object(tables[i].name);
    }
}

// --- Outcome -------------------------------------------------------------------------------------

static void print_state(void) {
    static const char *const integers[] = {"batch_status", "xwf_enable_flag", "falcon_2g_5g_swap_done"};
    for (size_t i = 0; i < sizeof integers / sizeof *integers; i++) {
        const int *integer = exported_object(integers[i]);
        printf("%s%s=%d", i > 0 ? " " : "", integers[i], *integer);
    }
    puts("");
}

static void check_value_slots(void) {
    for (size_t i = 0; i < table_count; i++) {
        const struct batch_entry *table = exported_object(tables[i].name);
        for (size_t row = 0; row < tables[i].rows; row++) {
            if (table[row].value) {
                journal_violation("value left in %s[%zu]", tables[i].name, row);
            }
        }
    }
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
static void print_outcome(int result, const struct text *response) {
    printf("[result]\n%d\n", result);
    if (response) {
        printf("[response]\n%s", text_string(response));
    }
    printf("[effects]\n%s[state]\n", journal_effects());
    print_state();
    printf("%s", journal_violations());
    print_configuration();
}

static void begin_call(struct json_object *request, struct json_object *response) {
    journal_clear();
    uci_show(&configuration_before);
    platform_begin_call(request, response);
}

static void end_call(int result, const struct text *response) {
    platform_end_contexts();
    platform_end_streams();
    check_value_slots();
    print_outcome(result, response);
}

// --- Handlers ------------------------------------------------------------------------------------

// References that the player holds for the time of a call, so that one that the handler releases can be
// counted without the object being freed.
enum { held_references = 8 };

static void hold(struct json_object *object) {
    for (int i = 0; i < held_references; i++) {
        json_object_get(object);
    }
}

// Gives back the player's own reference and the held ones. How many of them the handler had released;
// negative when it has kept some.
static int release(struct json_object *object) {
    int references = 1;
    while (object && json_object_put(object) != 1) {
        references++;
    }
    return held_references + 1 - references;
}

static char *serialise(struct json_object *object) {
    const char *text = json_object_to_json_string_ext(object, JSON_C_TO_STRING_PLAIN);
    return copy_bytes(text, strlen(text));
}

static void report_name_reference(int released) {
    if (released == 0 || released == 1) {
        journal_violation("name reference: %s", released ? "released" : "kept");
    } else {
        journal_violation("name reference: released %d times", released);
    }
}

static struct json_object *name_member(struct json_object *request) {
    struct json_object *name = NULL;
    json_object_object_get_ex(request, "name", &name);
    return name;
}

// Takes the name out of the request, whose reference it gives back, and reports what became of the
// references.
static void settle_references(struct json_object *request, struct json_object *name) {
    if (name) {
        json_object_get(name); // stands for the request's own, which the removal gives back
        json_object_object_del(request, "name");
        report_name_reference(release(name));
    }
    if (request && release(request) != 0) {
        journal_violation("a reference of the request was released or kept");
    }
}

struct handler_call {
    struct json_object *request, *name, *response;
    char *request_text;
};

static struct handler_call begin_handler(struct json_object *request) {
    struct handler_call call = {request, name_member(request), json_object_new_object(), serialise(request)};
    hold(call.request);
    hold(call.name);
    hold(call.response);
    begin_call(call.request, call.response);
    return call;
}

static void end_handler(struct handler_call *call, int result) {
    struct text response = {0};
    response_show(&response, call->response);
    char *request_text = serialise(call->request);
    if (strcmp(request_text, call->request_text) != 0) {
        journal_violation("the request was changed");
    }
    settle_references(call->request, call->name);
    if (release(call->response) != 0) {
        journal_violation("a reference of the response was released or kept");
    }
    end_call(result, &response);
    text_free(&response);
    free(request_text);
    free(call->request_text);
}

static void run_handler(handler_function *handler, struct json_object *request) {
    struct handler_call call = begin_handler(request);
    int result = handler(call.request, call.response);
    end_handler(&call, result);
}

// "batch_set_default model=MODEL dual=0"
static void run_batch_set_default(const char *header, struct json_object *request) {
    int (*apply)(struct json_object *, struct json_object *, struct zuci2_context *, const char *, int);
    char model[64];
    int dual = 0;
    if (sscanf(header, "batch_set_default model=%63s dual=%d", model, &dual) != 2) {
        refuse("expected [call batch_set_default model=MODEL dual=0]");
    }
    exported_function("batch_set_default", &apply);
    struct handler_call call = begin_handler(request);
    struct zuci2_context *ctx = zuci2_init();
    int result = apply(call.request, call.response, ctx, model, dual);
    platform_free_own_context(ctx);
    end_handler(&call, result);
}

static struct api_entity *route_table(uint32_t *count) {
    struct api_entity *(*entities)(uint32_t *);
    exported_function("get_api_entity", &entities);
    return entities(count);
}

// "post /cloud/aerolink/set"
static void run_route(const char *header, struct json_object *request) {
    uint32_t count = 0;
    struct api_entity *routes = route_table(&count);
    for (uint32_t i = 0; i < count; i++) {
        size_t method = strlen(routes[i].method);
        if (strncmp(header, routes[i].method, method) == 0 && header[method] == ' ' &&
            strcmp(header + method + 1, routes[i].path) == 0) {
            run_handler(routes[i].handler, request);
            return;
        }
    }
    refuse("no such route: %s", header);
}

// --- Other functions -----------------------------------------------------------------------------

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
    int (*match)(const char *, const char *);
    exported_function("regex_exe", &match);
    expect_arguments(arguments, 2);
    end_call(match(text_argument(arguments, 0), text_argument(arguments, 1)), NULL);
}

static void run_without_arguments(const char *name, struct json_object *arguments) {
    int (*function)(void);
    exported_function(name, &function);
    expect_arguments(arguments, 0);
    end_call(function(), NULL);
}

static void run_cmm_net_reachable2(struct json_object *arguments) {
    run_without_arguments("cmm_net_reachable2", arguments);
}

static void run_wbf_update_fw_type(struct json_object *arguments) {
    run_without_arguments("wbf_update_fw_type", arguments);
}

static void run_with_text(const char *name, struct json_object *arguments) {
    int (*function)(const char *);
    exported_function(name, &function);
    expect_arguments(arguments, 1);
    end_call(function(text_argument(arguments, 0)), NULL);
}

static void run_batch_set_pwd(struct json_object *arguments) { run_with_text("batch_set_pwd", arguments); }

static void run_batch_set_language(struct json_object *arguments) {
    run_with_text("batch_set_language", arguments);
}

static void run_txpower_band(const char *name, struct json_object *arguments) {
    int (*set)(int, const char *);
    exported_function(name, &set);
    expect_arguments(arguments, 2);
    end_call(set(integer_argument(arguments, 0), text_argument(arguments, 1)), NULL);
}

static void run_txpower_max_2g(struct json_object *arguments) {
    run_txpower_band("txpower_max_2g", arguments);
}

static void run_txpower_max_5g(struct json_object *arguments) {
    run_txpower_band("txpower_max_5g", arguments);
}

static void run_txpower_max_set(struct json_object *arguments) {
    int (*set)(const char *, const char *, const char *);
    exported_function("txpower_max_set", &set);
    expect_arguments(arguments, 3);
    end_call(set(text_argument(arguments, 0), text_argument(arguments, 1), text_argument(arguments, 2)),
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
    int (*derive)(const char *, char *, int);
    exported_function("get_txpower_max_key", &derive);
    expect_arguments(arguments, 2);
    bool null_out = json_object_array_get_idx(arguments, 1) == NULL;
    int size = null_out ? largest_out : integer_argument(arguments, 1);
    if (size > largest_out) {
        refuse("the size may be %d at most", largest_out);
    }
    size_t room = size > 0 ? (size_t)size : 0;
    char out[largest_out + guard_size];
    memset(out, guard_byte, sizeof out);
    int result = derive(text_argument(arguments, 0), null_out ? NULL : out, size);
    if (!is_guarded(out + room, sizeof out - room)) {
        journal_violation("out was written behind its size");
    }
    struct text response = {0};
    if (result == 0) {
        text_show(&response, out, strnlen(out, room), notation_plain);
        text_add(&response, memchr(out, '\0', room) ? "\n" : " (no NUL)\n");
    }
    end_call(result, &response);
    text_free(&response);
}

static const char *handler_name(handler_function *handler) {
    void *address = NULL;
    memcpy(&address, &handler, sizeof address);
    for (size_t i = 0; i < handler_count; i++) {
        if (dlsym(plugin, handler_names[i]) == address) {
            return handler_names[i];
        }
    }
    return "(not exported)";
}

// The response is the route table: METHOD PATH HANDLER; the result is its number of rows.
static void run_get_api_entity(struct json_object *arguments) {
    expect_arguments(arguments, 0);
    uint32_t count = 0;
    uint32_t count_again = 0;
    struct api_entity *routes = route_table(&count);
    if (route_table(&count_again) != routes || count_again != count) {
        journal_violation("the second call gave another table");
    }
    struct text response = {0};
    for (uint32_t i = 0; i < count; i++) {
        text_format(&response, "%s %s %s\n", routes[i].method, routes[i].path,
                    handler_name(routes[i].handler));
    }
    end_call((int)count, &response);
    text_free(&response);
}

static void show_table(struct text *out, const struct table *table) {
    const struct batch_entry *rows = exported_object(table->name);
    text_format(out, "%s\n", table->name);
    for (size_t row = 0; row < table->rows; row++) {
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
    for (size_t i = 0; i < table_count; i++) {
        show_table(&response, &tables[i]);
    }
    end_call(table_count, &response);
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
            begin_call(NULL, NULL);
            functions[i].run(arguments);
            json_object_put(arguments);
            return true;
        }
    }
    return false;
}

static bool run_named_handler(const char *name, struct json_object *request) {
    for (size_t i = 0; i < handler_count; i++) {
        if (strcmp(handler_names[i], name) == 0) {
            handler_function *handler = NULL;
            exported_function(name, &handler);
            run_handler(handler, request);
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
    } else if (!run_function(header, request) && !run_named_handler(header, request)) {
        refuse("unknown function: %s", header);
    }
}
