// SPDX-License-Identifier: Apache-2.0
// The record of a call.
#include "devkit/rehearsal/record.h"

#include "devkit/rehearsal/pool.h"
#include "devkit/rehearsal/rows.h"
#include "devkit/rehearsal/stage.h"

#include <stdarg.h>
#include <string.h>
#include <syslog.h>

static struct pool texts;

static struct {
    struct stage_effect *items;
    size_t count, capacity;
} effects;

static struct {
    struct stage_violation *items;
    size_t count, capacity;
} violations;

const char *record_text(const char *text) { return pool_copy_text(&texts, text); }

const char *record_bytes(const char *bytes, size_t length) { return pool_copy(&texts, bytes, length); }

const char *record_format(const char *format, va_list arguments) {
    return pool_format(&texts, format, arguments);
}

void *record_memory(size_t size) { return memset(pool_take(&texts, size), 0, size); }

struct stage_effect *record(enum stage_kind kind, enum stage_outcome outcome, const char *subject) {
    effects.items = grow(effects.items, effects.count, &effects.capacity, sizeof *effects.items);
    struct stage_effect *effect = &effects.items[effects.count++];
    *effect = (struct stage_effect){
        .kind = kind, .outcome = outcome, .subject = record_text(subject), .key = rows_current_key()};
    return effect;
}

void stage_add_violation(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const char *text = record_format(format, arguments);
    va_end(arguments);
    violations.items =
        grow(violations.items, violations.count, &violations.capacity, sizeof *violations.items);
    violations.items[violations.count++] = (struct stage_violation){text, rows_current_key()};
}

void record_clear(void) {
    effects.count = 0;
    violations.count = 0;
    pool_clear(&texts);
}

const struct stage_effect *stage_effects(size_t *count) {
    *count = effects.count;
    return effects.items;
}

const struct stage_violation *stage_violations(size_t *count) {
    *count = violations.count;
    return violations.items;
}

int stage_seconds(void) {
    int seconds = 0;
    for (size_t i = 0; i < effects.count; i++) {
        seconds += effects.items[i].seconds;
    }
    return seconds;
}

const char *stage_kind_name(enum stage_kind kind) {
    static const char *const names[stage_kind_count] = {
        [stage_log] = "log",           [stage_set] = "set",       [stage_delete] = "delete",
        [stage_commit] = "commit",     [stage_system] = "system", [stage_exec] = "exec",
        [stage_fork] = "fork",         [stage_line] = "line",     [stage_ucireturn] = "ucireturn",
        [stage_popen] = "popen",       [stage_sync] = "sync",     [stage_sleep] = "sleep",
        [stage_dispatch] = "dispatch", [stage_iwpriv] = "iwpriv", [stage_write] = "write",
        [stage_open] = "open",
    };
    return names[kind];
}

const char *stage_priority_name(int priority) {
    static const char *const names[] = {"emerg",   "alert",  "crit", "err",
                                        "warning", "notice", "info", "debug"};
    return names[LOG_PRI(priority)];
}
