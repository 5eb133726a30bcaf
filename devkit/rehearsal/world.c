// SPDX-License-Identifier: Apache-2.0
// The world. Files and answers are lists that only grow, in front: so a mark is a copy of the heads.
#include "devkit/rehearsal/world.h"

#include "devkit/rehearsal/pool.h"
#include "devkit/rehearsal/world_state.h"

#include <string.h>

struct world world;

static struct world marked;
static struct pool memory; // of files and answers
static struct pool_mark marked_memory;

// --- Device and configuration --------------------------------------------------------------------

void stage_set_device(const struct stage_device *device) { world.device = *device; }

void stage_set_repeater(const bool *answers, size_t count) {
    world.repeater = answers;
    world.repeater_answers = count;
    world.repeater_next = 0;
}

bool world_repeater(void) {
    if (world.repeater_answers == 0) {
        return false;
    }
    bool up = world.repeater[world.repeater_next];
    world.repeater_next += world.repeater_next + 1 < world.repeater_answers;
    return up;
}

void stage_set_uci(const struct stage_uci *uci) { world.uci = *uci; }

// --- Files ---------------------------------------------------------------------------------------

struct world_file {
    const struct world_file *older;
    const char *path;
    const char *target;  // of a link; else null
    const char *content; // null: removed
    size_t length;
    int exists_from; // number of sleeps
};

static void add_file(struct world_file file) {
    file.path = pool_copy_text(&memory, file.path);
    file.older = world.files;
    world.files = pool_take(&memory, sizeof file);
    *world.files = file;
}

static const struct world_file *find_file(const char *path) {
    for (const struct world_file *file = world.files; file; file = file->older) {
        if (strcmp(file->path, path) == 0) {
            return file->content ? file : NULL;
        }
    }
    return NULL;
}

void stage_put_file(const char *path, const char *content, size_t length) {
    add_file(
        (struct world_file){.path = path, .content = pool_copy(&memory, content, length), .length = length});
}

void stage_put_link(const char *path, const char *target) {
    add_file((struct world_file){.path = path, .target = pool_copy_text(&memory, target), .content = ""});
}

void stage_put_late_file(const char *path, int sleeps) {
    add_file((struct world_file){.path = path, .content = "", .exists_from = world.slept + sleeps});
}

bool stage_remove_file(const char *path) {
    if (!find_file(path)) {
        return false;
    }
    add_file((struct world_file){.path = path});
    return true;
}

static const struct world_file *find_present_file(const char *path) {
    const struct world_file *file = path ? find_file(path) : NULL;
    return file && world.slept >= file->exists_from ? file : NULL;
}

bool world_file_exists(const char *path) { return find_present_file(path) != NULL; }

const char *world_link_target(const char *path) {
    const struct world_file *file = find_present_file(path);
    return file ? file->target : NULL;
}

const char *stage_file(const char *path, size_t *length) {
    const struct world_file *file = find_present_file(path);
    if (file && length) {
        *length = file->length;
    }
    return file ? file->content : NULL;
}

// --- Commands ------------------------------------------------------------------------------------

struct world_script {
    const struct world_script *older;
    const char *command;
    bool present;
    struct world_answer answer;
};

static void add_script(const char *command, bool present, struct world_answer answer) {
    struct world_script *script = pool_take(&memory, sizeof *script);
    *script = (struct world_script){world.script, pool_copy_text(&memory, command), present, answer};
    world.script = script;
}

void stage_answer(const char *command, int status, const char *output, size_t length) {
    const char *copy = output && length > 0 ? pool_copy(&memory, output, length) : NULL;
    add_script(command, true, (struct world_answer){.status = status, .output = copy, .length = length});
}

void stage_answer_from(const char *command, FILE *(*open)(void)) {
    add_script(command, true, (struct world_answer){.open = open});
}

const struct world_answer *world_answer(const char *command) {
    for (const struct world_script *script = world.script; command && script; script = script->older) {
        if (strcmp(script->command, command) == 0) {
            return script->present ? &script->answer : NULL;
        }
    }
    return NULL;
}

bool stage_forget_answer(const char *command) {
    bool answered = world_answer(command) != NULL;
    add_script(command, false, (struct world_answer){0});
    return answered;
}

void stage_set_dispatcher(stage_dispatcher *dispatcher, void *context) {
    world.dispatcher = dispatcher;
    world.dispatcher_context = context;
}

void stage_set_listener(stage_listener *listener, void *context) {
    world.listener = listener;
    world.listener_context = context;
}

void stage_set_acting(bool acting) { world.acting = acting; }

void stage_set_fault(enum stage_fault fault, bool present) { world.faults[fault] = present; }

// --- Putting back --------------------------------------------------------------------------------

void world_mark(void) {
    marked = world;
    marked_memory = pool_mark(&memory);
    if (world.uci.mark) {
        world.uci.mark(world.uci.context);
    }
}

void world_put_back(void) {
    world = marked;
    pool_rewind(&memory, marked_memory);
    if (world.uci.put_back) {
        world.uci.put_back(world.uci.context);
    }
}

void world_reset(void) {
    marked = world = (struct world){0};
    marked_memory = (struct pool_mark){0};
    pool_clear(&memory);
}
