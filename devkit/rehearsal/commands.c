// SPDX-License-Identifier: Apache-2.0
// What a command does and answers. Commands are known by their forms; which files, options and keys they are
// about stands in the command alone. tests/rehearsal/commands.cpp has the plug-in run one of each form.
#include "devkit/rehearsal/commands.h"

#include "devkit/rehearsal/filters.h"
#include "devkit/rehearsal/forms.h"
#include "devkit/rehearsal/record.h"

#include <ctype.h>
#include <stdlib.h>
#include <string.h>

// A command that runs, its parts as texts for the life of the record, and what becomes of it.
struct run {
    struct stage_effect *effect;
    const char *parts[most_holes];
    struct world_answer answer;
};

static void answer_bytes(struct run *run, const char *output, size_t length) {
    run->answer.output = length > 0 ? record_bytes(output, length) : NULL;
    run->answer.length = length;
}

static void answer_line(struct run *run, const char *line) {
    char *output = record_memory(strlen(line) + 2);
    strcpy(output, line);
    strcat(output, "\n");
    answer_bytes(run, output, strlen(output));
}

// --- Files ---------------------------------------------------------------------------------------

// The options of "echo": a line feed is left out, escapes are meant as such or not.
static bool is_echo_option(const char *text) {
    return text[0] == '-' && text[1] && strspn(text + 1, "neE") == strlen(text + 1);
}

// echo "TEXT" >FILE
static void echo_into_file(struct run *run) {
    const char *text = is_echo_option(run->parts[0]) ? "" : run->parts[0];
    bool ends = text == run->parts[0] || !strchr(run->parts[0], 'n');
    char *content = record_memory(strlen(text) + 2);
    strcpy(content, text);
    strcat(content, ends ? "\n" : "");
    stage_put_file(run->parts[1], content, strlen(content));
}

static void remove_file(struct run *run) { run->answer.status = stage_remove_file(run->parts[0]) ? 0 : 1; }

static void copy_file(struct run *run) {
    size_t length = 0;
    const char *content = stage_file(run->parts[0], &length);
    run->answer.status = content ? 0 : 1;
    if (content) {
        stage_put_file(run->parts[1], content, length);
    }
}

static void show_file(struct run *run) {
    size_t length = 0;
    const char *content = stage_file(run->parts[0], &length);
    run->answer.status = content ? 0 : 1;
    answer_bytes(run, content, length);
}

// cat FILE | grep -w WORD | awk -F= '{print $2}': the second field of each line that has the word
static void show_key_of_file(struct run *run) {
    const char *content = stage_file(run->parts[0], NULL);
    const struct filter filter = {
        .kind = filter_word, .pattern = run->parts[1], .separator = '=', .first = 2, .last = 2};
    run->answer.output = filter_lines(content, &filter, &run->answer.length);
}

// grep "PATTERN" FILE |awk -F"'" '{print $4}': the fourth field of each line that matches
static void show_match_in_file(struct run *run) {
    const char *content = stage_file(run->parts[1], NULL);
    if (run->parts[0][0] == '-' && run->parts[0][1]) { // an option of grep
        run->effect->unforeseen = true;
        return;
    }
    const struct filter filter = {
        .kind = filter_expression, .pattern = run->parts[0], .separator = '\'', .first = 4, .last = 4};
    run->answer.output = filter_lines(content, &filter, &run->answer.length);
}

// --- Configuration -------------------------------------------------------------------------------

static void show_option(struct run *run) {
    const char *value = world.uci.get ? world.uci.get(world.uci.context, run->parts[0]) : NULL;
    run->answer.status = value ? 0 : 1;
    if (value) {
        answer_line(run, value);
    }
}

static void commit_all(struct run *run) {
    bool fails = !world.uci.commit_all || world.faults[stage_fault_zuci2_commit];
    run->answer.status = fails ? 1 : 0;
    if (!fails) {
        world.uci.commit_all(world.uci.context);
    }
}

// --- Network, log, account -----------------------------------------------------------------------

static bool is_number(const char *text) {
    return isdigit((unsigned char)text[0]) && text[strspn(text, "0123456789")] == '\0';
}

// ping -c COUNT -W TIMEOUT ... ADDRESS; echo $?
static void ping(struct run *run) {
    if (!is_number(run->parts[0]) || !is_number(run->parts[1])) {
        run->effect->unforeseen = true;
        return;
    }
    answer_line(run, world.device.internet ? "0" : "1");
}

// logread|grep WORD|cut -d ":" -n -fFIRST,...,LAST
static void show_log(struct run *run) {
    const char *last = strrchr(run->parts[1], ',');
    const struct filter filter = {.kind = filter_text,
                                  .pattern = run->parts[0],
                                  .separator = ':',
                                  .first = atoi(run->parts[1]),
                                  .last = atoi(last ? last + 1 : run->parts[1]),
                                  .whole_line_without_separator = true};
    run->answer.output = filter_lines(world.device.log, &filter, &run->answer.length);
}

// The account is no part of the world; the time that it takes is.
static void change_password(struct run *run) { run->effect->seconds = atoi(run->parts[1]); }

// What it loads comes later, if at all.
static void download(struct run *run) { run->answer.status = 0; }

// --- Forms ---------------------------------------------------------------------------------------

// How the shell reads what stands in a hole.
enum hole { hole_word, hole_quoted, hole_escaped };

static const struct form {
    const char *text;
    enum hole holes[most_holes];
    void (*run)(struct run *run);
} forms[] = {
    {"uci commit", {0}, commit_all},
    {"uci get %", {hole_word}, show_option},
    {"echo \"%\" >%", {hole_quoted, hole_word}, echo_into_file},
    {"echo % > %", {hole_word, hole_word}, echo_into_file},
    {"cat % | grep -w % 2>/dev/null | awk -F= '{print $2}'", {hole_word, hole_word}, show_key_of_file},
    {"cat %", {hole_word}, show_file},
    {"grep \"%\" % |awk -F\"'\" '{print $4}'", {hole_quoted, hole_word}, show_match_in_file},
    {"rm %", {hole_word}, remove_file},
    {"cp % % -rf", {hole_word, hole_word}, copy_file},
    {"ping -c % -W % -s 56 -q % &> /dev/null ; echo $?", {hole_word, hole_word, hole_word}, ping},
    {"logread|grep %|cut -d \":\" -n -f%", {hole_word, hole_word}, show_log},
    {"(echo %; sleep %; echo %)| passwd root >/dev/null 2>&1",
     {hole_escaped, hole_word, hole_escaped},
     change_password},
    {"wget -O % %", {hole_word, hole_word}, download},
};

// The text of a hole; null when only a shell can tell.
static const char *read_hole(enum hole hole, const char *text, size_t length) {
    if (hole == hole_word && !is_plain_word(text, length)) {
        return NULL;
    }
    if (hole == hole_quoted) {
        char *plain = record_memory(length + 1);
        return unquote(text, length, plain) ? plain : NULL;
    }
    return record_bytes(text, length);
}

static void run_form(const struct form *form, const struct form_holes *holes, struct run *run) {
    for (size_t i = 0; i < most_holes && holes->text[i]; i++) {
        run->parts[i] = read_hole(form->holes[i], holes->text[i], holes->length[i]);
        if (!run->parts[i]) {
            run->effect->unforeseen = true;
            return;
        }
    }
    form->run(run);
}

static void act(const char *command, struct run *run) {
    for (size_t i = 0; i < sizeof forms / sizeof *forms; i++) {
        struct form_holes holes = {0};
        if (form_matches(forms[i].text, command, &holes)) {
            run_form(&forms[i], &holes, run);
            return;
        }
    }
}

struct world_answer command_run(enum stage_kind kind, const char *command) {
    struct run run = {.effect = record(kind, stage_done, command)};
    const struct world_answer *scripted = world_answer(command);
    if (scripted) {
        return *scripted;
    }
    if (world.acting && command) {
        act(command, &run);
    }
    return run.answer;
}
