// The journal of one call.
#include "tests/recorded/player/journal.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

static struct text effects;
static struct text violations;

static const char *or_null(const char *text) { return text ? text : "(null)"; }

void journal_effect(const char *verb, const char *text) {
    text_format(&effects, "%s ", verb);
    text_show(&effects, or_null(text), strlen(or_null(text)), notation_plain);
    text_add(&effects, "\n");
}

void journal_event(const char *verb) { text_format(&effects, "%s\n", verb); }

void journal_assignment(const char *verb, const char *subject, const char *value) {
    struct text assignment = {0};
    text_format(&assignment, value ? "%s=%s" : "%s %s", or_null(subject), or_null(value));
    journal_effect(verb, text_string(&assignment));
    text_free(&assignment);
}

void journal_written_line(const char *line, size_t length, int ended) {
    text_add(&effects, "  | ");
    text_show(&effects, line, length, notation_plain);
    text_add(&effects, ended ? "\n" : "\\c\n");
}

void journal_violation(const char *format, ...) {
    char line[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    text_show(&violations, line, strlen(line), notation_plain);
    text_add(&violations, "\n");
}

const char *journal_effects(void) { return text_string(&effects); }
const char *journal_violations(void) { return text_string(&violations); }

void journal_clear(void) {
    text_free(&effects);
    text_free(&violations);
}
