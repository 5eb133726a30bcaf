// SPDX-License-Identifier: Apache-2.0
// Printing of the record of a call.
#include "tests/recorded/player/effects.h"

#include "devkit/rehearsal/stage.h"

#include <string.h>

static const char *or_null(const char *text) { return text ? text : "(null)"; }

static void show(struct text *out, const char *text) {
    text_show(out, or_null(text), strlen(or_null(text)), notation_plain);
}

// "SUBJECT=VALUE", "SUBJECT (null)"
static void show_assignment(struct text *out, const char *subject, const char *value) {
    struct text assignment = {0};
    text_format(&assignment, value ? "%s=%s" : "%s %s", or_null(subject), or_null(value));
    show(out, text_string(&assignment));
    text_free(&assignment);
}

static void show_line(struct text *out, const char *line, size_t length, bool ended) {
    text_add(out, "\n  | ");
    text_show(out, line, length, notation_plain);
    text_add(out, ended ? "" : "\\c");
}

static void show_lines(struct text *out, const char *content, size_t left) {
    while (left > 0) {
        const char *end = memchr(content, '\n', left);
        size_t length = end ? (size_t)(end - content) : left;
        show_line(out, content, length, end != NULL);
        length += end != NULL;
        content += length;
        left -= length;
    }
}

static void show_details(struct text *out, const struct stage_effect *effect) {
    switch (effect->kind) {
    case stage_sync:
        return;
    case stage_log:
        text_format(out, " %s ", stage_priority_name(effect->number));
        show(out, effect->subject);
        return;
    case stage_set:
        text_add(out, " ");
        show_assignment(out, effect->subject, effect->value);
        return;
    case stage_iwpriv:
        text_format(out, " %s ", effect->subject);
        show_assignment(out, effect->parameter, effect->value);
        return;
    case stage_sleep:
        text_format(out, " %d", effect->seconds);
        return;
    default:
        text_add(out, " ");
        show(out, effect->subject);
    }
    if (effect->kind == stage_open) {
        text_format(out, " %s", effect->parameter);
    } else if (effect->kind == stage_write) {
        show_lines(out, effect->value, effect->length);
    }
}

void effects_show(struct text *out) {
    static const char *const outcomes[] = {
        [stage_done] = "",
        [stage_failed] = "-failed",
        [stage_missing] = "-missing",
        [stage_no_context] = "-without-context",
    };
    size_t count = 0;
    const struct stage_effect *effects = stage_effects(&count);
    for (size_t i = 0; i < count; i++) {
        text_add(out, stage_kind_name(effects[i].kind));
        text_add(out, outcomes[effects[i].outcome]);
        show_details(out, &effects[i]);
        text_add(out, "\n");
    }
}

void violations_show(struct text *out) {
    size_t count = 0;
    const struct stage_violation *violations = stage_violations(&count);
    for (size_t i = 0; i < count; i++) {
        show(out, violations[i].text);
        text_add(out, "\n");
    }
}
