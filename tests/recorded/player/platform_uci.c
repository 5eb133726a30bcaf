// Recording platform: UCI access over the scripted configuration.
#include "platform/zuutil.h"
#include "tests/recorded/player/journal.h"
#include "tests/recorded/player/platform.h"
#include "tests/recorded/player/world.h"

#include <stdbool.h>
#include <stdlib.h>
#include <string.h>

enum { read_limit = 4096 };

// Contexts are never given back to the allocator, so that a use after zuci2_free is seen and reported.
struct zuci2_context {
    bool open;
    struct zuci2_context *next;
};

static struct zuci2_context *contexts;

struct zuci2_context *zuci2_init(void) {
    if (world_has_fault(fault_zuci2_init)) {
        return NULL;
    }
    struct zuci2_context *ctx = allocate(sizeof *ctx);
    *ctx = (struct zuci2_context){.open = true, .next = contexts};
    contexts = ctx;
    return ctx;
}

void zuci2_free(struct zuci2_context *ctx) {
    if (!ctx) {
        journal_violation("null context freed");
    } else if (!ctx->open) {
        journal_violation("context freed twice");
    } else {
        ctx->open = false;
    }
}

static bool usable(struct zuci2_context *ctx) {
    if (ctx && !ctx->open) {
        journal_violation("context used after it was freed");
    }
    return ctx && ctx->open;
}

int zuci2_get(struct zuci2_context *ctx, const char *path, char *buffer) {
    if (!usable(ctx)) {
        return 1;
    }
    const char *value = uci_value(path);
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

int zuci2_set(struct zuci2_context *ctx, const char *path, const char *value) {
    if (!usable(ctx)) {
        journal_assignment("set-without-context", path, value);
        return 1;
    }
    if (!path || !value || world_has_fault(fault_zuci2_set)) {
        journal_assignment("set-failed", path, value);
        return 1;
    }
    journal_assignment("set", path, value);
    uci_put(path, value);
    return 0;
}

int zuci2_delete(struct zuci2_context *ctx, const char *path) {
    if (!usable(ctx)) {
        journal_effect("delete-without-context", path);
        return 1;
    }
    if (!uci_remove(path)) {
        journal_effect("delete-missing", path);
        return 1;
    }
    journal_effect("delete", path);
    return 0;
}

int zuci2_commit(struct zuci2_context *ctx, const char *package) {
    if (!usable(ctx)) {
        journal_effect("commit-without-context", package);
        return 1;
    }
    if (world_has_fault(fault_zuci2_commit)) {
        journal_effect("commit-failed", package);
        return 1;
    }
    journal_effect("commit", package);
    return 0;
}

int zuci2_section_count(struct zuci2_context *ctx, const char *type) {
    const char *selector = strstr(type, ".@");
    if (!usable(ctx) || !selector) {
        return 0;
    }
    char *package = copy_bytes(type, (size_t)(selector - type));
    int count = uci_sections(package, selector + 2);
    free(package);
    return count;
}

void platform_free_own_context(struct zuci2_context *ctx) {
    if (ctx && !ctx->open) {
        journal_violation("the caller's context was freed");
    } else if (ctx) {
        ctx->open = false;
    }
}

void platform_end_contexts(void) {
    int left_open = 0;
    for (struct zuci2_context *ctx = contexts; ctx; ctx = ctx->next) {
        left_open += ctx->open;
        ctx->open = false;
    }
    if (left_open > 0) {
        journal_violation("contexts left open: %d", left_open);
    }
}
