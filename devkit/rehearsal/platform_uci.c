// SPDX-License-Identifier: Apache-2.0
// UCI access to the configuration of the world.
#include "devkit/rehearsal/platform.h"
#include "devkit/rehearsal/record.h"
#include "devkit/rehearsal/stage.h"
#include "devkit/rehearsal/world_state.h"
#include "platform/zuutil.h"

#include <stdbool.h>
#include <string.h>

enum { read_limit = 4096 };

// Contexts stay as long as the record of the call, so that a use after zuci2_free is seen and reported.
struct zuci2_context {
    bool open;
    struct zuci2_context *next;
};

static struct zuci2_context *contexts;

static bool has_fault(enum stage_fault fault) { return world.faults[fault]; }

struct zuci2_context *zuci2_init(void) {
    if (has_fault(stage_fault_zuci2_init)) {
        return NULL;
    }
    struct zuci2_context *ctx = record_memory(sizeof *ctx);
    *ctx = (struct zuci2_context){.open = true, .next = contexts};
    contexts = ctx;
    return ctx;
}

void zuci2_free(struct zuci2_context *ctx) {
    if (!ctx) {
        stage_add_violation("null context freed");
    } else if (!ctx->open) {
        stage_add_violation("context freed twice");
    } else {
        ctx->open = false;
    }
}

static bool usable(struct zuci2_context *ctx) {
    if (ctx && !ctx->open) {
        stage_add_violation("context used after it was freed");
    }
    return ctx && ctx->open;
}

int zuci2_get(struct zuci2_context *ctx, const char *path, char *buffer) {
    if (!usable(ctx)) {
        return 1;
    }
    const char *value = path && world.uci.get ? world.uci.get(world.uci.context, path) : NULL;
    if (!value) {
        return 1;
    }
    size_t length = strlen(value);
    if (length >= read_limit) {
        length = read_limit - 1;
    }
    memcpy(buffer, value, length);
    buffer[length] = '\0';
    return 0;
}

static bool set_option(const char *path, const char *value) {
    return path && value && !has_fault(stage_fault_zuci2_set) && world.uci.set &&
           world.uci.set(world.uci.context, path, value);
}

// Adds the effect with the outcome that it had, and gives the result that says so.
static int recorded(enum stage_kind kind, enum stage_outcome outcome, const char *subject,
                    const char *value) {
    record(kind, outcome, subject)->value = record_text(value);
    return outcome == stage_done ? 0 : 1;
}

int zuci2_set(struct zuci2_context *ctx, const char *path, const char *value) {
    enum stage_outcome outcome = !usable(ctx)              ? stage_no_context
                                 : set_option(path, value) ? stage_done
                                                           : stage_failed;
    return recorded(stage_set, outcome, path, value);
}

static bool remove_path(const char *path) {
    return path && world.uci.remove && world.uci.remove(world.uci.context, path);
}

int zuci2_delete(struct zuci2_context *ctx, const char *path) {
    enum stage_outcome outcome = !usable(ctx)        ? stage_no_context
                                 : remove_path(path) ? stage_done
                                                     : stage_missing;
    return recorded(stage_delete, outcome, path, NULL);
}

static bool commit(const char *package) {
    return package && !has_fault(stage_fault_zuci2_commit) && world.uci.commit &&
           world.uci.commit(world.uci.context, package);
}

int zuci2_commit(struct zuci2_context *ctx, const char *package) {
    enum stage_outcome outcome = !usable(ctx)      ? stage_no_context
                                 : commit(package) ? stage_done
                                                   : stage_failed;
    return recorded(stage_commit, outcome, package, NULL);
}

int zuci2_section_count(struct zuci2_context *ctx, const char *type) {
    const char *selector = type ? strstr(type, ".@") : NULL;
    char package[64];
    if (!usable(ctx) || !selector || (size_t)(selector - type) >= sizeof package ||
        !world.uci.section_count) {
        return 0;
    }
    memcpy(package, type, (size_t)(selector - type));
    package[selector - type] = '\0';
    return world.uci.section_count(world.uci.context, package, selector + 2);
}

void platform_free_own_context(struct zuci2_context *ctx) {
    if (ctx && !ctx->open) {
        stage_add_violation("the caller's context was freed");
    } else if (ctx) {
        ctx->open = false;
    }
}

void platform_end_contexts(void) {
    int left_open = 0;
    for (struct zuci2_context *ctx = contexts; ctx; ctx = ctx->next) {
        left_open += ctx->open;
    }
    contexts = NULL;
    if (left_open > 0) {
        stage_add_violation("contexts left open: %d", left_open);
    }
}
