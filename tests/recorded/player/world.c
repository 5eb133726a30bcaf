// SPDX-License-Identifier: Apache-2.0
// The world that a case describes.
#include "tests/recorded/player/world.h"

#include "devkit/rehearsal/option_list.h"
#include "devkit/rehearsal/world.h"

#include <json-c/json.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

const char *case_path;
size_t case_line;

void refuse(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    fflush(stdout);
    fprintf(stderr, "%s:%zu: ", case_path, case_line);
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
    va_end(arguments);
    exit(2);
}

static char *expand_or_refuse(const char *shown, size_t length) {
    struct text text = {0};
    if (!text_expand(&text, shown, length, notation_plain)) {
        refuse("malformed text: %.*s", (int)length, shown);
    }
    if (strlen(text_string(&text)) != text.length) {
        refuse("a NUL cannot stand here");
    }
    char *copy = copy_bytes(text_string(&text), text.length);
    text_free(&text);
    return copy;
}

static bool starts_with(const char *string, const char *prefix) {
    return strncmp(string, prefix, strlen(prefix)) == 0;
}

// A decimal number from 0 to most that fills the whole string; refuses anything else.
static int number_or_refuse(const char *string, long most) {
    char *end = NULL;
    long number = strtol(string, &end, 10);
    if (end == string || *end != '\0' || number < 0 || number > most) {
        refuse("not a number from 0 to %ld: %s", most, string);
    }
    return (int)number;
}

// Makes room for one more element of size bytes behind count of them.
static void *grow(void *elements, size_t count, size_t size) {
    void *grown = realloc(elements, (count + 1) * size);
    if (!grown) {
        abort();
    }
    return grown;
}

// --- Device --------------------------------------------------------------------------------------

enum { longest_repeater_script = 64 };

static struct {
    char *model, *service_code, *ddns_name;
    bool no_ddns_name;
} device;
static bool repeater[longest_repeater_script];

static const char *or_else(const char *text, const char *otherwise) { return text ? text : otherwise; }

static void set_device(void) {
    const struct stage_device facts = {
        .model = or_else(device.model, "generic"),
        .service_code = or_else(device.service_code, "ABCD12345678"),
        .ddns_name = device.no_ddns_name ? NULL : or_else(device.ddns_name, ""),
    };
    stage_set_device(&facts);
}

static void script_repeater(const char *value) {
    size_t length = 0;
    for (;;) {
        bool up = starts_with(value, "up");
        size_t word = up ? 2 : 4;
        if ((!up && !starts_with(value, "down")) || length == longest_repeater_script) {
            refuse("repeater takes up and down, separated by \", \"");
        }
        repeater[length++] = up;
        value += word;
        if (*value == '\0') {
            stage_set_repeater(repeater, length);
            return;
        }
        if (!starts_with(value, ", ")) {
            refuse("repeater takes up and down, separated by \", \"");
        }
        value += 2;
    }
}

static void replace_text(char **text, const char *shown) {
    free(*text);
    *text = expand_or_refuse(shown, strlen(shown));
}

void world_device_line(const char *line) {
    const char *separator = strstr(line, " =");
    if (!separator || (separator[2] != ' ' && separator[2] != '\0')) {
        refuse("expected KEY = VALUE: %s", line);
    }
    size_t key = (size_t)(separator - line);
    const char *value = separator[2] == ' ' ? separator + 3 : "";
    if (key == 5 && starts_with(line, "model")) {
        replace_text(&device.model, value);
    } else if (key == 12 && starts_with(line, "service_code")) {
        replace_text(&device.service_code, value);
    } else if (key == 9 && starts_with(line, "ddns_name")) {
        device.no_ddns_name = strcmp(value, "(null)") == 0;
        replace_text(&device.ddns_name, value);
    } else if (key == 8 && starts_with(line, "repeater")) {
        script_repeater(value);
    } else {
        refuse("unknown key: %.*s", (int)key, line);
    }
    set_device();
}

// --- Configuration -------------------------------------------------------------------------------

static struct option_list *configuration;

void uci_show(struct text *out) {
    for (size_t i = 0; i < option_list_length(configuration); i++) {
        struct option_list_entry entry = option_list_at(configuration, i);
        text_show(out, entry.path, strlen(entry.path), notation_plain);
        text_add(out, "=");
        text_show(out, entry.value, strlen(entry.value), notation_plain);
        text_add(out, "\n");
    }
}

void world_uci_line(const char *line) {
    const char *equals = strchr(line, '=');
    if (line[0] == '-') {
        if (!option_list_remove(configuration, line + 1)) {
            refuse("not in the configuration: %s", line + 1);
        }
        return;
    }
    if (!equals || !memchr(line, '.', (size_t)(equals - line))) {
        refuse("expected PATH=VALUE or -PATH: %s", line);
    }
    char *path = expand_or_refuse(line, (size_t)(equals - line));
    char *value = expand_or_refuse(equals + 1, strlen(equals + 1));
    option_list_put(configuration, path, value);
    free(path);
    free(value);
}

// --- Answers -------------------------------------------------------------------------------------

// What the sections up to here have answered, for those that add to it. "dispatch PATH" stands for the
// members that another plug-in's route adds.
static struct answer {
    char *command;
    int status;
    unsigned section;
    struct text output;
} * answers;
static size_t answer_count;
static unsigned section_number;

void world_begin_section(void) { section_number++; }

static struct answer *answer_find(const char *command) {
    for (size_t i = 0; i < answer_count; i++) {
        if (strcmp(answers[i].command, command) == 0) {
            return &answers[i];
        }
    }
    return NULL;
}

static void answer_forget(struct answer *answer) {
    text_free(&answer->output);
    answer->status = 0;
    stage_forget_answer(answer->command);
}

// The answer of the command, as far as this section has given it; takes over command.
static struct answer *answer_of_section(char *command) {
    struct answer *answer = answer_find(command);
    if (!answer) {
        answers = grow(answers, answer_count, sizeof *answers);
        answer = &answers[answer_count++];
        *answer = (struct answer){.command = command, .section = section_number};
        return answer;
    }
    free(command);
    if (answer->section != section_number) {
        answer_forget(answer);
        answer->section = section_number;
    }
    return answer;
}

static bool ends_without_line_feed(const char *shown) {
    size_t length = strlen(shown);
    if (length < 2 || shown[length - 1] != 'c') {
        return false;
    }
    size_t backslashes = 0;
    while (backslashes < length - 1 && shown[length - 2 - backslashes] == '\\') {
        backslashes++;
    }
    return backslashes % 2 == 1;
}

// after: what follows the arrow, "LINE", " LINE" or "*N LINE".
static void read_output(struct text *out, const char *after) {
    int times = 1;
    if (*after == '*') {
        const char *space = strchr(after, ' ');
        char *number = copy_bytes(after + 1, space ? (size_t)(space - after - 1) : strlen(after + 1));
        times = number_or_refuse(number, 10000000);
        free(number);
        after = space ? space : "";
    }
    if (*after == ' ') {
        after++;
    }
    bool ended = !ends_without_line_feed(after);
    struct text line = {0};
    if (!text_expand(&line, after, strlen(after) - (ended ? 0 : 2), notation_plain)) {
        refuse("malformed text: %s", after);
    }
    text_add(&line, ended ? "\n" : "");
    for (int time = 0; time < times; time++) {
        text_append(out, text_string(&line), line.length);
    }
    text_free(&line);
}

void world_answer_line(const char *line) {
    if (line[0] == '-') {
        char *command = expand_or_refuse(line + 1, strlen(line + 1));
        struct answer *forgotten = answer_find(command);
        free(command);
        if (!forgotten) {
            refuse("not answered: %s", line + 1);
        }
        answer_forget(forgotten);
        return;
    }
    const char *status = strstr(line, " ?= ");
    const char *arrow = status ? status : strstr(line, " =>");
    if (!arrow) {
        refuse("expected COMMAND => LINE or COMMAND ?= STATUS: %s", line);
    }
    struct answer *answer = answer_of_section(expand_or_refuse(line, (size_t)(arrow - line)));
    if (status) {
        answer->status = number_or_refuse(status + 4, 255);
    } else {
        read_output(&answer->output, arrow + 3);
    }
    stage_answer(answer->command, answer->status, text_string(&answer->output), answer->output.length);
}

static int dispatch(void *context, const char *path, struct json_object *request,
                    struct json_object *response) {
    (void)context;
    (void)request;
    struct text command = {0};
    text_format(&command, "dispatch %s", path);
    const struct answer *answer = answer_find(text_string(&command));
    text_free(&command);
    if (!answer || answer->output.length == 0) {
        return -1;
    }
    struct json_object *members = json_tokener_parse(text_string(&answer->output));
    if (!json_object_is_type(members, json_type_object)) {
        refuse("dispatch %s is not answered with an object", path);
    }
    json_object_object_foreach(members, key, value) {
        json_object_object_add(response, key, json_object_get(value));
    }
    json_object_put(members);
    return 0;
}

// --- Files ---------------------------------------------------------------------------------------

static void put_late_file(const char *path, const char *after) {
    size_t digits = strcspn(after, " ");
    if (strcmp(after + digits, " sleeps") != 0) {
        refuse("expected PATH after N sleeps: %s after %s", path, after);
    }
    char *sleeps = copy_bytes(after, digits);
    stage_put_late_file(path, number_or_refuse(sleeps, 1000));
    free(sleeps);
}

// "PATH", "PATH -> TARGET", "PATH after N sleeps" or "-PATH".
void world_file_line(const char *line) {
    if (line[0] == '-') {
        if (!stage_remove_file(line + 1)) {
            refuse("no such file: %s", line + 1);
        }
        return;
    }
    if (line[0] != '/') {
        refuse("expected an absolute path: %s", line);
    }
    const char *arrow = strstr(line, " -> ");
    const char *after = strstr(line, " after ");
    char *path = copy_bytes(line, arrow   ? (size_t)(arrow - line)
                                  : after ? (size_t)(after - line)
                                          : strlen(line));
    if (arrow) {
        stage_put_link(path, arrow + 4);
    } else if (after) {
        put_late_file(path, after + 7);
    } else {
        stage_put_file(path, "", 0);
    }
    free(path);
}

// --- Faults --------------------------------------------------------------------------------------

void world_fault_line(const char *line) {
    static const char *const names[stage_fault_count] = {
        [stage_fault_zuci2_init] = "zuci2_init",
        [stage_fault_zuci2_set] = "zuci2_set",
        [stage_fault_zuci2_commit] = "zuci2_commit",
        [stage_fault_popen] = "popen",
        [stage_fault_fopen] = "fopen",
        [stage_fault_crypt_null] = "crypt null",
        [stage_fault_crypt_star] = "crypt *0",
        [stage_fault_crypt_long] = "crypt *long",
        [stage_fault_iwpriv] = "iwpriv",
    };
    bool present = line[0] != '-';
    const char *name = present ? line : line + 1;
    for (size_t i = 0; i < stage_fault_count; i++) {
        if (strcmp(names[i], name) == 0) {
            stage_set_fault((enum stage_fault)i, present);
            return;
        }
    }
    refuse("unknown fault: %s", name);
}

// --- Beginning -----------------------------------------------------------------------------------

void world_begin(void) {
    configuration = option_list_new();
    const struct stage_uci uci = option_list_uci(configuration);
    stage_set_uci(&uci);
    stage_set_dispatcher(dispatch, NULL);
    set_device();
}
