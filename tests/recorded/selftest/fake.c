// SPDX-License-Identifier: Apache-2.0
// A plug-in that does what the real one may never do, so that the player can be seen to notice.
// aerolink_ctrl_get causes every effect once; aerolink_ctrl_set does the misdeed that the request's "do"
// names.
#include "platform/host.h"
#include "platform/zuutil.h"
#include "platform/zuwificore.h"
#include "plugin/aerolink.h"

#include <crypt.h>
#include <json-c/json.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

int batch_status = 1;
int xwf_enable_flag;
int falcon_2g_5g_swap_done;
struct batch_entry batch_list_common[8], batch_list1[48], batch_list2[34], batch_list_ardea[55],
    batch_list_mt76x8[41], batch_list_mt7615[47], batch_list_finch[21], batch_list_wbf[42],
    batch_list_wbf1[29];

enum { buffer_size = 4096 };

// --- Every effect --------------------------------------------------------------------------------

static void use_uci(struct json_object *out) {
    char value[buffer_size] = "untouched";
    struct zuci2_context *ctx = zuci2_init();
    zuci2_get(ctx, "network.lan.ipaddr", value);
    zjson_add_string(out, "lan", value);
    zjson_add_int(out, "devices", zuci2_section_count(ctx, "wireless.@wifi-device"));
    zuci2_set(ctx, "network.lan.ipaddr", "10.0.0.1");
    zuci2_delete(ctx, "network.lan.netmask");
    zuci2_delete(ctx, "network.lan.netmask");
    zuci2_commit(ctx, "network");
    if (ctx) {
        zuci2_free(ctx);
    }
}

static void run_commands(struct json_object *out) {
    char line[buffer_size] = "untouched";
    zjson_add_int(out, "system", system("true 1") >> 8);
    zjson_add_int(out, "exec", execCommand("true 2"));
    getShellCommandReturnLine("true 3", line);
    zjson_add_string(out, "line", line);
    getUciReturn("true 4", line);
    zjson_add_string(out, "ucireturn", line);
    fork_exec2("true 5");
}

static void read_pipe(struct json_object *out) {
    struct json_object *lines = json_object_new_array();
    char *line = NULL;
    size_t capacity = 0;
    FILE *pipe = popen("true 6", "r");
    while (pipe && getline(&line, &capacity, pipe) > 0) {
        zjson_array_add_string(lines, line);
    }
    free(line);
    zjson_add_object(out, "lines", lines);
    if (pipe) {
        zjson_add_int(out, "pclose", pclose(pipe));
    }
}

static void use_files(struct json_object *out) {
    char target[16] = "";
    FILE *file = fopen("/etc/written", "w+");
    if (file) {
        fprintf(file, "first\nsecond\tline\nno end");
        fclose(file);
    }
    zjson_add_boolean(out, "access before", access("/etc/late", F_OK) == 0);
    sleep(1);
    zjson_add_boolean(out, "access after", cmm_check_file_is_exist("/etc/late"));
    zjson_add_int(out, "readlink", (int)readlink("/etc/link", target, sizeof target - 1));
    zjson_add_string(out, "target", target);
    sync();
}

static void use_device(struct json_object *out) {
    zjson_add_string(out, "model", get_model_name());
    zjson_add_string(out, "service", get_service_code());
    zjson_add_boolean(out, "has ddns", get_ddns_name() != NULL);
    zjson_add_boolean(out, "repeater", wifi_check_repeater_is_connected());
    zjson_add_boolean(out, "repeater again", wifi_check_repeater_is_connected());
    zjson_add_int(out, "iwpriv", mt76x8_private_iwpriv_set("ra0", "SSID", "a b"));
}

static void use_texts(struct json_object *in, struct json_object *out) {
    char digest[65];
    char escaped[32];
    char text[] = "aZ9";
    const char *hash = crypt("secret", "$1$ABCD1234$");
    sha256(hash && hash[0] != '*' ? hash + 12 : "no hash", digest);
    zjson_add_string(out, "digest", digest);
    increase_escape_function("a b$c_d.e", escaped, 9);
    zjson_add_string(out, "escaped", escaped);
    str_to_upper(text);
    zjson_add_string(out, "upper", text);
    str_to_lower(text);
    zjson_add_string(out, "lower", text);
    zjson_add_boolean(out, "flag", zjson_get_boolean(in, "flag"));
    zjson_add_boolean(out, "contains", zjson_contain_key(in, "nothing"));
    zjson_add_string(out, "number", zjson_get_string(in, "number"));
}

int aerolink_ctrl_get(struct json_object *in, struct json_object *out) {
    syslog(LOG_INFO, "input=%s\n", json_object_to_json_string_ext(in, JSON_C_TO_STRING_PLAIN));
    use_uci(out);
    run_commands(out);
    read_pipe(out);
    use_files(out);
    use_device(out);
    use_texts(in, out);
    zjson_add_int(out, "dispatch", custom_api_dispatcher("/other/route", in, out));
    return 0;
}

// --- Misdeeds ------------------------------------------------------------------------------------

static struct json_object *kept_request;

static void leave_context(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    zuci2_init();
}

static void use_freed_context(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    struct zuci2_context *ctx = zuci2_init();
    zuci2_free(ctx);
    zuci2_set(ctx, "network.lan.ipaddr", "10.0.0.1");
}

static void free_twice(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    struct zuci2_context *ctx = zuci2_init();
    zuci2_free(ctx);
    zuci2_free(ctx);
}

static void use_null_context(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    zuci2_set(NULL, "network.lan.ipaddr", "10.0.0.1");
    zuci2_delete(NULL, "network.lan.ipaddr");
    zuci2_commit(NULL, "network");
    zuci2_free(NULL);
}

static void set_null(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    struct zuci2_context *ctx = zuci2_init();
    zuci2_set(ctx, "network.lan.ipaddr", NULL);
    zuci2_free(ctx);
}

static void leave_value(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    batch_list_finch[20].value = "left";
}

static void clear_value(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    batch_list_finch[20].value = NULL;
}

static void release_name(struct json_object *in, struct json_object *out) {
    (void)out;
    json_object_put(json_object_object_get(in, "name"));
}

static void release_name_twice(struct json_object *in, struct json_object *out) {
    release_name(in, out);
    release_name(in, out);
}

static void do_nothing(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
}

static void change_request(struct json_object *in, struct json_object *out) {
    (void)out;
    zjson_add_int(in, "more", 1);
}

static void keep_request(struct json_object *in, struct json_object *out) {
    (void)out;
    kept_request = json_object_get(in);
}

static void release_response(struct json_object *in, struct json_object *out) {
    (void)in;
    json_object_put(out);
}

static void leave_streams(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    popen("true", "r");
    fputs("unfinished", fopen("/etc/written", "w"));
}

static void close_wrongly(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    int (*volatile close_stream)(FILE *) = fclose; // hides the mistake from the compiler
    close_stream(popen("true", "r"));
    pclose(NULL);
}

static void add_null(struct json_object *in, struct json_object *out) {
    (void)in;
    zjson_add_string(out, "key", NULL);
}

static void dispatch_others(struct json_object *in, struct json_object *out) {
    (void)out;
    custom_api_dispatcher("/other/route", in, in);
}

static void leak(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    json_object_new_string("lost");
}

static void overrun(struct json_object *in, struct json_object *out) {
    (void)in;
    char small[8];
    struct zuci2_context *ctx = zuci2_init();
    zuci2_get(ctx, "network.lan.ipaddr", small);
    zjson_add_string(out, "small", small);
    zuci2_free(ctx);
}

int aerolink_ctrl_set(struct json_object *in, struct json_object *out) {
    static const struct {
        const char *name;
        void (*run)(struct json_object *in, struct json_object *out);
    } misdeeds[] = {
        {"leave context", leave_context},
        {"use freed context", use_freed_context},
        {"free twice", free_twice},
        {"use null context", use_null_context},
        {"set null", set_null},
        {"leave value", leave_value},
        {"clear value", clear_value},
        {"release name", release_name},
        {"release name twice", release_name_twice},
        {"nothing", do_nothing},
        {"change request", change_request},
        {"keep request", keep_request},
        {"release response", release_response},
        {"leave streams", leave_streams},
        {"close wrongly", close_wrongly},
        {"add null", add_null},
        {"dispatch others", dispatch_others},
        {"leak", leak},
        {"overrun", overrun},
    };
    for (size_t i = 0; i < sizeof misdeeds / sizeof *misdeeds; i++) {
        if (strcmp(misdeeds[i].name, zjson_get_string(in, "do")) == 0) {
            misdeeds[i].run(in, out);
            return 0;
        }
    }
    return -1;
}

static int hidden_handler(struct json_object *in, struct json_object *out) {
    (void)in;
    (void)out;
    return 7;
}

// Gives another table at every second call.
struct api_entity *get_api_entity(uint32_t *count) {
    static struct api_entity tables[2][2] = {
        {{"/first", "get", aerolink_ctrl_get}, {"/hidden", "post", hidden_handler}},
        {{"/second", "post", aerolink_ctrl_set}, {"/hidden", "post", hidden_handler}},
    };
    static int calls;
    *count = 2;
    return tables[calls++ % 2];
}

// Writes one byte behind out, and no NUL into it.
int get_txpower_max_key(const char *path, char *out, int size) {
    (void)path;
    memset(out, 'x', (size_t)size + 1);
    return 0;
}

int batch_set_default(struct json_object *in, struct json_object *out, struct zuci2_context *ctx,
                      const char *model, int dual) {
    (void)in;
    zjson_add_string(out, "model", model);
    zjson_add_boolean(out, "dual", dual);
    zuci2_free(ctx);
    return 0;
}
