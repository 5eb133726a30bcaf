// SPDX-License-Identifier: Apache-2.0
// A plug-in whose routes exercise the daemon's side of the handler contract.
#include "platform/host.h"
#include "plugin/aerolink.h"

#include <json-c/json.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static const char *text_of(struct json_object *in, const char *key) {
    return json_object_get_string(json_object_object_get(in, key));
}

static int number_of(struct json_object *in, const char *key) {
    return json_object_get_int(json_object_object_get(in, key));
}

static void add_int(struct json_object *out, const char *key, int value) {
    json_object_object_add(out, key, json_object_new_int(value));
}

// The response shares the request's tree.
static int echo(struct json_object *in, struct json_object *out) {
    json_object_object_add(out, "request", json_object_get(in));
    return 0;
}

static int echo_name(struct json_object *in, struct json_object *out) {
    json_object_object_add(out, "names", json_object_get(json_object_object_get(in, "name")));
    return 0;
}

// Releases one reference of "name", as named reads do, after having read it.
static int named(struct json_object *in, struct json_object *out) {
    struct json_object *name = json_object_object_get(in, "name");
    add_int(out, "elements",
            json_object_is_type(name, json_type_array) ? (int)json_object_array_length(name) : 0);
    json_object_put(name);
    return 0;
}

// A named read whose response shares the member that it releases.
static int named_echo(struct json_object *in, struct json_object *out) {
    echo_name(in, out);
    return named(in, out);
}

static int result(struct json_object *in, struct json_object *out) {
    json_object_object_add(out, "msg", json_object_new_string("as asked"));
    return number_of(in, "code");
}

// Takes "ms" milliseconds; tells whether another handler ran meanwhile and whether it runs on the main
// thread.
static int slow(struct json_object *in, struct json_object *out) {
    static int running;
    const int ms = number_of(in, "ms");
    const struct timespec pause = {.tv_sec = ms / 1000, .tv_nsec = (long)(ms % 1000) * 1000000};
    const int overlap = __atomic_add_fetch(&running, 1, __ATOMIC_SEQ_CST) != 1;
    nanosleep(&pause, NULL);
    __atomic_sub_fetch(&running, 1, __ATOMIC_SEQ_CST);
    add_int(out, "overlap", overlap);
    add_int(out, "main_thread", gettid() == getpid());
    return 0;
}

// Runs the route "path" of any plug-in "times" times with its own two objects.
static int dispatch(struct json_object *in, struct json_object *out) {
    const int times = json_object_object_get(in, "times") == NULL ? 1 : number_of(in, "times");
    int last = 0;
    for (int i = 0; i < times; ++i)
        last = custom_api_dispatcher(text_of(in, "path"), in, out);
    const int members = json_object_object_length(out);
    add_int(out, "members_before", members);
    add_int(out, "dispatched", last);
    return 0;
}

static int large(struct json_object *in, struct json_object *out) {
    const int size = number_of(in, "size");
    char *text = malloc((size_t)size);
    memset(text, 'x', (size_t)size);
    json_object_object_add(out, "text", json_object_new_string_len(text, size));
    free(text);
    return 0;
}

// A member whose key and value are the bytes that "hex" gives.
static int bytes(struct json_object *in, struct json_object *out) {
    char text[64] = "";
    const char *hex = text_of(in, "hex");
    for (size_t i = 0; i < sizeof text - 1 && strlen(hex) >= 2 * (i + 1); ++i) {
        const char digits[] = {hex[2 * i], hex[2 * i + 1], '\0'};
        text[i] = (char)strtol(digits, NULL, 16);
    }
    json_object_object_add(out, text, json_object_new_string(text));
    return 0;
}

// What a command started by a handler inherits: its signal masks and open files.
static int child(struct json_object *in, struct json_object *out) {
    (void)in;
    char line[256];
    FILE *pipe =
        popen("grep -E '^Sig(Blk|Ign)' /proc/self/status; for f in /proc/$$/fd/*; do readlink $f; done", "r");
    struct json_object *lines = json_object_new_array();
    while (pipe != NULL && fgets(line, sizeof line, pipe) != NULL)
        json_object_array_add(lines, json_object_new_string_len(line, (int)strcspn(line, "\n")));
    if (pipe != NULL)
        pclose(pipe);
    json_object_object_add(out, "lines", lines);
    return 0;
}

// Writes to a pipe that nobody reads, which raises SIGPIPE.
static int broken_pipe(struct json_object *in, struct json_object *out) {
    (void)in;
    int ends[2];
    if (pipe(ends) != 0)
        return 1;
    close(ends[0]);
    add_int(out, "failed", write(ends[1], "x", 1) < 0);
    close(ends[1]);
    return 0;
}

static struct api_entity routes[] = {
    {"/test/echo", "get", echo},
    {"/test/echo_post", "post", echo},
    {"/test/echo_name", "post", echo_name},
    {"/test/named", "get", named},
    {"/test/named_post", "post", named},
    {"/test/named_echo", "post", named_echo},
    {"/test/result", "post", result},
    {"/test/slow", "get", slow},
    {"/test/slow_post", "post", slow},
    {"/test/dispatch", "post", dispatch},
    {"/test/large", "get", large},
    {"/test/bytes", "get", bytes},
    {"/test/child", "get", child},
    {"/test/broken_pipe", "get", broken_pipe},
};

struct api_entity *get_api_entity(uint32_t *count) {
    *count = sizeof routes / sizeof *routes;
    return routes;
}
