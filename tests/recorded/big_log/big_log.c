// SPDX-License-Identifier: Apache-2.0
// The cloud log of a million lines: the plug-in's answer must be complete and in order, take no more memory
// than the answer itself, and no time beyond what a line costs. With a number of lines it is measured for so
// many, and whoever asks judges. usage: big_log PLUGIN [LINES]
#include "devkit/rehearsal/stage.h"

#include <json-c/json.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

enum { most_lines = 1000000, line_length = 80 };

static size_t line_count = most_lines;

static void fail(const char *message) {
    fprintf(stderr, "%s\n", message);
    exit(EXIT_FAILURE);
}

// --- The log

static char line[most_lines + 1];

// Makes line the text of that number. The first is long, so that what it cost is not paid for every other
// line: as many bytes as there are lines.
static size_t make_line(size_t number) {
    if (number == 0) {
        memset(line, 'x', line_count);
        line[line_count] = '\0';
        return line_count;
    }
    return (size_t)snprintf(line, sizeof line, "%-*zu.", line_length - 1, number);
}

// What is left of the log: the rest of the text in line, and the lines from next on.
static struct { size_t next, offset, length; } output;

static ssize_t read_output(void *cookie, char *buffer, size_t size) {
    (void)cookie;
    if (output.offset == output.length && output.next < line_count) {
        output.length = make_line(output.next++);
        output.offset = 0;
        if (output.next < line_count) {
            line[output.length++] = '\n';
        }
    }
    size_t left = output.length - output.offset;
    size_t given = left < size ? left : size;
    memcpy(buffer, line + output.offset, given);
    output.offset += given;
    return (ssize_t)given;
}

static FILE *open_log(void) { return fopencookie(NULL, "r", (cookie_io_functions_t){.read = read_output}); }

// --- Work, each in a process of its own

static void do_nothing(void) {}

static void build_array(void) {
    struct json_object *array = json_object_new_array();
    for (size_t i = 0; i < line_count; i++) {
        make_line(i);
        json_object_array_add(array, json_object_new_string(line));
    }
}

static void build_array_beside_a_copy(void) {
    char *volatile *copy = calloc(line_count, sizeof *copy); // a compiler may leave out what nobody reads
    for (size_t i = 0; i < line_count; i++) {
        make_line(i);
        copy[i] = strdup(line);
    }
    build_array();
    free((void *)copy);
}

static void ask_the_plugin(void) {
    size_t violations = 0;
    struct stage_result answer = stage_play(stage_handler_named("aerolink_log"), NULL);
    stage_violations(&violations);
    if (answer.result != 0 || violations > 0) {
        fail("the request failed or left the pipe open");
    }
    struct json_object *log = NULL;
    json_object_object_get_ex(answer.response, "log", &log);
    if (!json_object_is_type(log, json_type_array) || json_object_array_length(log) != line_count) {
        fail("the log has not as many lines as there were");
    }
    for (size_t i = 0; i < line_count; i++) {
        make_line(i);
        if (strcmp(json_object_get_string(json_object_array_get_idx(log, i)), line) != 0) {
            fprintf(stderr, "wrong line: %zu\n", i);
            exit(EXIT_FAILURE);
        }
    }
}

// --- Measuring

struct usage {
    long peak_kib;
    double seconds;
};

static double in_seconds(struct timeval time) { return (double)time.tv_sec + (double)time.tv_usec / 1e6; }

static struct usage measure(const char *name, void (*work)(void)) {
    pid_t child = fork();
    if (child == 0) {
        work();
        _exit(EXIT_SUCCESS);
    }
    int status = 0;
    struct rusage usage;
    if (child < 0 || wait4(child, &status, 0, &usage) != child || status != 0) {
        fprintf(stderr, "failed: %s\n", name);
        exit(EXIT_FAILURE);
    }
    struct usage measured = {usage.ru_maxrss, in_seconds(usage.ru_utime) + in_seconds(usage.ru_stime)};
    printf("%-24s %7ld KiB %8.4f s\n", name, measured.peak_kib, measured.seconds);
    fflush(stdout);
    return measured;
}

// Whatever command the plug-in gets the log from has the lines as its output.
static void load_plugin(const char *path) {
    const char *error = stage_load(path);
    if (error) {
        fail(error);
    }
    stage_play(stage_handler_named("aerolink_log"), NULL);
    size_t count = 0;
    const struct stage_effect *effects = stage_effects(&count);
    for (size_t i = 0; i < count; i++) {
        if (effects[i].kind == stage_popen) {
            stage_answer_from(effects[i].subject, open_log);
        }
    }
}

int main(int argc, char **argv) {
    if (argc > 2) {
        line_count = strtoul(argv[2], NULL, 10);
    }
    if (argc < 2 || argc > 3 || line_count < line_length || line_count > most_lines) {
        fail("usage: big_log PLUGIN [LINES]");
    }
    load_plugin(argv[1]);
    struct usage idle = measure("idle", do_nothing);
    struct usage array = measure("array", build_array);
    struct usage copied = measure("array beside a copy", build_array_beside_a_copy);
    struct usage asked = measure("plug-in", ask_the_plugin);
    if (argc > 2) {
        return EXIT_SUCCESS;
    }

    long answer = array.peak_kib - idle.peak_kib;
    long most = array.peak_kib + answer / 10;
    if (copied.peak_kib <= most) {
        fail("a copy of the log does not show in the measurement");
    }
    if (asked.peak_kib > most) {
        fail("the plug-in takes more memory than its answer");
    }
    if (asked.seconds > 20 * array.seconds + 1) {
        fail("the plug-in takes too long");
    }
    return EXIT_SUCCESS;
}
