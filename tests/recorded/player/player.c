// SPDX-License-Identifier: Apache-2.0
// Plays case files against the plug-in.
// player PLUGIN CASE prints the same case with the actual outcome; status 0 when it was played, 2 when the
// case or the plug-in is refused. player PLUGIN --into FOLDER CASE... plays each case in a process of its
// own, prints that one's status, and writes what it prints to FOLDER/1, FOLDER/2, ...
#include "tests/recorded/player/call.h"
#include "tests/recorded/player/text.h"
#include "tests/recorded/player/world.h"

#include <ctype.h>
#include <errno.h>
#include <fcntl.h>
#include <json-c/json.h>
#include <locale.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

enum section { section_none, section_input, section_call, section_outcome };

static const struct {
    const char *name;
    void (*line)(const char *line);
} input_sections[] = {
    {"device", world_device_line}, {"uci", world_uci_line},      {"answers", world_answer_line},
    {"files", world_file_line},    {"faults", world_fault_line},
};

static const char *const outcome_sections[] = {"result", "response", "effects", "state", "uci after"};

static struct {
    enum section section;
    void (*input_line)(const char *line);
    char *call; // the header of the call that is being read; null when there is none
    struct text request;
    size_t calls;
} reader;

// The whole file.
static struct text read_file(const char *path) {
    struct text content = {0};
    char block[4096];
    int file = open(path, O_RDONLY);
    ssize_t length = file < 0 ? -1 : read(file, block, sizeof block);
    while (length > 0) {
        text_append(&content, block, (size_t)length);
        length = read(file, block, sizeof block);
    }
    if (length < 0) {
        refuse("%s", strerror(errno));
    }
    close(file);
    return content;
}

static struct json_object *parse_request(void) {
    struct text json = {0};
    if (!text_expand(&json, text_string(&reader.request), reader.request.length, notation_json)) {
        refuse("malformed text in the request");
    }
    struct json_tokener *tokener = json_tokener_new();
    json_tokener_set_flags(tokener, JSON_TOKENER_STRICT);
    // The NUL goes with it: a number at the end is complete only then.
    struct json_object *request = json_tokener_parse_ex(tokener, text_string(&json), (int)json.length + 1);
    enum json_tokener_error error = json_tokener_get_error(tokener);
    size_t end = json_tokener_get_parse_end(tokener);
    while (end < json.length && isspace((unsigned char)json.data[end])) {
        end++;
    }
    if (error != json_tokener_success || end < json.length) {
        refuse("malformed JSON in the request: %s", json_tokener_error_desc(error));
    }
    json_tokener_free(tokener);
    text_free(&json);
    return request;
}

// Prints the request and runs the call that has been read up to here, if there is one.
static void finish_call(void) {
    if (!reader.call) {
        return;
    }
    while (reader.request.length > 0 &&
           isspace((unsigned char)reader.request.data[reader.request.length - 1])) {
        reader.request.data[--reader.request.length] = '\0';
    }
    printf("%s\n", text_string(&reader.request));
    call_run(reader.call, parse_request());
    text_free(&reader.request);
    free(reader.call);
    reader.call = NULL;
    reader.calls++;
}

// An input section, a call or a comment begins behind an outcome: the canonical layout has one empty line
// there.
static void begin_input(enum section section) {
    bool after_outcome = reader.call || reader.section == section_outcome;
    finish_call();
    if (after_outcome) {
        puts("");
    }
    reader.section = section;
}

// "[name]" with a lower-case name; a request may begin with "[null" and the like.
static bool is_header(const char *line) {
    static const char *const values[] = {"null", "true", "false"};
    for (size_t i = 0; i < sizeof values / sizeof *values; i++) {
        size_t length = strlen(values[i]);
        if (line[0] == '[' && strncmp(line + 1, values[i], length) == 0 &&
            !isalpha((unsigned char)line[1 + length])) {
            return false;
        }
    }
    return line[0] == '[' && islower((unsigned char)line[1]);
}

static bool is_outcome(const char *name) {
    for (size_t i = 0; i < sizeof outcome_sections / sizeof *outcome_sections; i++) {
        if (strcmp(outcome_sections[i], name) == 0) {
            return true;
        }
    }
    return false;
}

static void begin_input_section(const char *name) {
    for (size_t i = 0; i < sizeof input_sections / sizeof *input_sections; i++) {
        if (strcmp(input_sections[i].name, name) == 0) {
            begin_input(section_input);
            world_begin_section();
            reader.input_line = input_sections[i].line;
            printf("[%s]\n", name);
            return;
        }
    }
    refuse("unknown section: %s", name);
}

static void read_header(const char *line) {
    size_t length = strlen(line);
    if (line[length - 1] != ']') {
        refuse("a section's header ends with ]");
    }
    char *name = copy_bytes(line + 1, length - 2);
    if (strncmp(name, "call ", 5) == 0) {
        begin_input(section_call);
        reader.call = copy_bytes(name + 5, strlen(name + 5));
        puts(line);
    } else if (!is_outcome(name)) {
        begin_input_section(name);
    } else if (reader.call || reader.section == section_outcome) {
        finish_call();
        reader.section = section_outcome;
    } else {
        refuse("outcome without a call");
    }
    free(name);
}

static void read_comment(const char *line) {
    if (reader.section != section_input) {
        begin_input(section_none);
    }
    puts(line);
}

static void read_line(const char *line) {
    if (is_header(line)) {
        read_header(line);
    } else if (line[0] == '#') {
        read_comment(line);
    } else if (reader.section == section_call) {
        text_format(&reader.request, "%s\n", line);
    } else if (reader.section == section_input || line[0] == '\0') {
        if (reader.section != section_outcome) {
            puts(line);
        }
        if (line[0] != '\0') {
            reader.input_line(line);
        }
    } else if (reader.section == section_none) {
        refuse("a line outside of every section");
    }
}

static void play(const struct text *content) {
    const char *line = text_string(content);
    if (strncmp(line, "# Purpose: ", 11) != 0) {
        case_line = 1;
        refuse("a case begins with \"# Purpose: \"");
    }
    while (*line) {
        const char *end = strchr(line, '\n');
        case_line++;
        if (!end) {
            refuse("the last line has no line feed");
        }
        char *copy = copy_bytes(line, (size_t)(end - line));
        read_line(copy);
        free(copy);
        line = end + 1;
    }
    finish_call();
    if (reader.calls == 0) {
        refuse("a case needs a call");
    }
}

static void play_file(const char *path) {
    case_path = path;
    struct text content = read_file(path);
    play(&content);
    text_free(&content);
}

// Plays the case in a child of its own, which finds the plug-in as it was loaded; its status. What the child
// prints goes to the file FOLDER/NUMBER.
static int play_in_child(const char *folder, int number, const char *path) {
    pid_t child = fork();
    if (child == 0) {
        struct text outcome = {0};
        text_format(&outcome, "%s/%d", folder, number);
        if (!freopen(text_string(&outcome), "w", stdout)) {
            refuse("%s: %s", text_string(&outcome), strerror(errno));
        }
        text_free(&outcome);
        play_file(path);
        exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        refuse("%s", strerror(errno));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int main(int argc, char **argv) {
    const bool several = argc > 4 && strcmp(argv[2], "--into") == 0;
    if (!several && argc != 3) {
        fputs("usage: player PLUGIN CASE | player PLUGIN --into FOLDER CASE...\n", stderr);
        return 2;
    }
    setvbuf(stdout, NULL, _IOLBF, 0); // what was printed before a crash stays
    setlocale(LC_ALL, "C.UTF-8");     // as a daemon may; the plug-in counts bytes all the same
    call_load_plugin(argv[1]);
    world_begin();
    if (!several) {
        play_file(argv[2]);
        return 0;
    }
    for (int i = 4; i < argc; i++) {
        printf("%d\n", play_in_child(argv[3], i - 3, argv[i]));
        fflush(stdout);
    }
    return 0;
}
