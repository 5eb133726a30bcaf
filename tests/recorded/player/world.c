// The scripted world: reads the input sections of a case and answers the platform.
#include "tests/recorded/player/world.h"

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
    char *model, *service_code, *ddns_name; // null: as at the start
    bool no_ddns_name;
    bool repeater[longest_repeater_script];
    size_t repeater_length, repeater_next;
} device = {.repeater_length = 1};

const char *world_model(void) { return device.model ? device.model : "generic"; }

const char *world_service_code(void) { return device.service_code ? device.service_code : "ABCD12345678"; }

const char *world_ddns_name(void) {
    if (device.no_ddns_name) {
        return NULL;
    }
    return device.ddns_name ? device.ddns_name : "";
}

bool world_repeater(void) {
    bool up = device.repeater[device.repeater_next];
    if (device.repeater_next + 1 < device.repeater_length) {
        device.repeater_next++;
    }
    return up;
}

static void script_repeater(const char *value) {
    device.repeater_length = 0;
    device.repeater_next = 0;
    for (;;) {
        bool up = starts_with(value, "up");
        size_t word = up ? 2 : 4;
        if ((!up && !starts_with(value, "down")) || device.repeater_length == longest_repeater_script) {
            refuse("repeater takes up and down, separated by \", \"");
        }
        device.repeater[device.repeater_length++] = up;
        value += word;
        if (*value == '\0') {
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
}

// --- Configuration -------------------------------------------------------------------------------

static struct uci_entry {
    char *path;
    char *value;
} * uci_entries;
static size_t uci_count;

static struct uci_entry *uci_find(const char *path) {
    for (size_t i = 0; i < uci_count; i++) {
        if (strcmp(uci_entries[i].path, path) == 0) {
            return &uci_entries[i];
        }
    }
    return NULL;
}

const char *uci_value(const char *path) {
    struct uci_entry *entry = uci_find(path);
    return entry ? entry->value : NULL;
}

void uci_put(const char *path, const char *value) {
    struct uci_entry *entry = uci_find(path);
    char *copy = copy_bytes(value, strlen(value));
    if (entry) {
        free(entry->value);
        entry->value = copy;
        return;
    }
    uci_entries = grow(uci_entries, uci_count, sizeof *uci_entries);
    uci_entries[uci_count++] = (struct uci_entry){copy_bytes(path, strlen(path)), copy};
}

static bool is_in(const char *path, const char *section) {
    size_t length = strlen(section);
    return strncmp(path, section, length) == 0 && (path[length] == '\0' || path[length] == '.');
}

bool uci_remove(const char *path) {
    size_t kept = 0;
    for (size_t i = 0; i < uci_count; i++) {
        if (is_in(uci_entries[i].path, path)) {
            free(uci_entries[i].path);
            free(uci_entries[i].value);
        } else {
            uci_entries[kept++] = uci_entries[i];
        }
    }
    bool removed = kept < uci_count;
    uci_count = kept;
    return removed;
}

int uci_sections(const char *package, const char *type) {
    int count = 0;
    size_t length = strlen(package);
    for (size_t i = 0; i < uci_count; i++) {
        const char *path = uci_entries[i].path;
        bool section =
            strncmp(path, package, length) == 0 && path[length] == '.' && !strchr(path + length + 1, '.');
        count += section && strcmp(uci_entries[i].value, type) == 0;
    }
    return count;
}

void uci_show(struct text *out) {
    for (size_t i = 0; i < uci_count; i++) {
        text_show(out, uci_entries[i].path, strlen(uci_entries[i].path), notation_plain);
        text_add(out, "=");
        text_show(out, uci_entries[i].value, strlen(uci_entries[i].value), notation_plain);
        text_add(out, "\n");
    }
}

void world_uci_line(const char *line) {
    const char *equals = strchr(line, '=');
    if (line[0] == '-') {
        if (!uci_remove(line + 1)) {
            refuse("not in the configuration: %s", line + 1);
        }
        return;
    }
    if (!equals || !memchr(line, '.', (size_t)(equals - line))) {
        refuse("expected PATH=VALUE or -PATH: %s", line);
    }
    char *path = expand_or_refuse(line, (size_t)(equals - line));
    char *value = expand_or_refuse(equals + 1, strlen(equals + 1));
    uci_put(path, value);
    free(path);
    free(value);
}

// --- Answers -------------------------------------------------------------------------------------

struct answer_row {
    struct text text;
    int times;
    bool ended; // by a line feed
};

static struct answer {
    char *command;
    int status;
    unsigned section;
    struct answer_row *rows;
    size_t row_count;
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
    for (size_t i = 0; i < answer->row_count; i++) {
        text_free(&answer->rows[i].text);
    }
    free(answer->rows);
    answer->rows = NULL;
    answer->row_count = 0;
    answer->status = 0;
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
static struct answer_row read_answer_row(const char *after) {
    struct answer_row row = {.times = 1, .ended = true};
    if (*after == '*') {
        const char *space = strchr(after, ' ');
        char *times = copy_bytes(after + 1, space ? (size_t)(space - after - 1) : strlen(after + 1));
        row.times = number_or_refuse(times, 10000000);
        free(times);
        after = space ? space : "";
    }
    if (*after == ' ') {
        after++;
    }
    size_t length = strlen(after);
    if (ends_without_line_feed(after)) {
        row.ended = false;
        length -= 2;
    }
    if (!text_expand(&row.text, after, length, notation_plain)) {
        refuse("malformed text: %s", after);
    }
    return row;
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
        return;
    }
    answer->rows = grow(answer->rows, answer->row_count, sizeof *answer->rows);
    answer->rows[answer->row_count++] = read_answer_row(arrow + 3);
}

int answer_status(const char *command) {
    struct answer *answer = answer_find(command);
    return answer ? answer->status : 0;
}

const struct text *answer_line(const char *command) {
    struct answer *answer = answer_find(command);
    return answer && answer->row_count > 0 ? &answer->rows[0].text : NULL;
}

void answer_output(const char *command, struct text *out) {
    struct answer *answer = answer_find(command);
    for (size_t i = 0; answer && i < answer->row_count; i++) {
        struct answer_row *row = &answer->rows[i];
        for (int time = 0; time < row->times; time++) {
            text_append(out, text_string(&row->text), row->text.length);
            text_add(out, row->ended ? "\n" : "");
        }
    }
}

struct json_object *answer_dispatch(const char *path) {
    struct text command = {0};
    text_format(&command, "dispatch %s", path);
    const struct text *members = answer_line(text_string(&command));
    text_free(&command);
    if (!members) {
        return NULL;
    }
    struct json_object *object = json_tokener_parse(text_string(members));
    if (!json_object_is_type(object, json_type_object)) {
        refuse("dispatch %s is not answered with an object", path);
    }
    return object;
}

// --- Files ---------------------------------------------------------------------------------------

static struct file {
    char *path;
    char *target;
    int sleeps; // until it exists
} * files;
static size_t file_count;

static struct file *file_find(const char *path) {
    for (size_t i = 0; i < file_count; i++) {
        if (strcmp(files[i].path, path) == 0) {
            return &files[i];
        }
    }
    return NULL;
}

bool file_exists(const char *path) {
    struct file *file = file_find(path);
    return file && file->sleeps == 0;
}

const char *file_target(const char *path) {
    struct file *file = file_find(path);
    return file ? file->target : NULL;
}

void files_sleep(void) {
    for (size_t i = 0; i < file_count; i++) {
        files[i].sleeps -= files[i].sleeps > 0;
    }
}

static void file_remove(const char *path) {
    struct file *file = file_find(path);
    if (!file) {
        refuse("no such file: %s", path);
    }
    free(file->path);
    free(file->target);
    *file = files[--file_count];
}

// "PATH", "PATH -> TARGET", "PATH after N sleeps" or "-PATH".
void world_file_line(const char *line) {
    if (line[0] == '-') {
        file_remove(line + 1);
        return;
    }
    if (line[0] != '/') {
        refuse("expected an absolute path: %s", line);
    }
    const char *arrow = strstr(line, " -> ");
    const char *after = strstr(line, " after ");
    size_t length = arrow ? (size_t)(arrow - line) : after ? (size_t)(after - line) : strlen(line);
    struct file file = {.path = copy_bytes(line, length)};
    if (arrow) {
        file.target = copy_bytes(arrow + 4, strlen(arrow + 4));
    } else if (after) {
        size_t digits = strcspn(after + 7, " ");
        if (strcmp(after + 7 + digits, " sleeps") != 0) {
            refuse("expected PATH after N sleeps: %s", line);
        }
        char *sleeps = copy_bytes(after + 7, digits);
        file.sleeps = number_or_refuse(sleeps, 1000);
        free(sleeps);
    }
    if (file_find(file.path)) {
        file_remove(file.path);
    }
    files = grow(files, file_count, sizeof *files);
    files[file_count++] = file;
}

// --- Faults --------------------------------------------------------------------------------------

static bool faults[fault_count];

bool world_has_fault(enum fault fault) { return faults[fault]; }

void world_fault_line(const char *line) {
    static const char *const names[fault_count] = {
        [fault_zuci2_init] = "zuci2_init",
        [fault_zuci2_set] = "zuci2_set",
        [fault_zuci2_commit] = "zuci2_commit",
        [fault_popen] = "popen",
        [fault_fopen] = "fopen",
        [fault_crypt_null] = "crypt null",
        [fault_crypt_star] = "crypt *0",
        [fault_crypt_long] = "crypt *long",
        [fault_iwpriv] = "iwpriv",
    };
    bool present = line[0] != '-';
    const char *name = present ? line : line + 1;
    for (size_t i = 0; i < fault_count; i++) {
        if (strcmp(names[i], name) == 0) {
            faults[i] = present;
            return;
        }
    }
    refuse("unknown fault: %s", name);
}
