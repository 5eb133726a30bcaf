// SPDX-License-Identifier: Apache-2.0
// The world as the platform looks it up and changes it.
#pragma once

#include "devkit/rehearsal/world.h"

struct world_answer {
    int status;
    const char *output; // null: no output
    size_t length;
    FILE *(*open)(void); // null: the output above
};

struct world {
    struct stage_device device;
    struct stage_uci uci;
    const bool *repeater;
    size_t repeater_answers, repeater_next;
    stage_dispatcher *dispatcher;
    void *dispatcher_context;
    stage_listener *listener;
    void *listener_context;
    bool acting;
    bool faults[stage_fault_count];
    int slept;                   // how often
    struct world_file *files;    // newest first: the first with a path is the one that counts
    struct world_script *script; // likewise by command
};

// The one that is played in.
extern struct world world;

bool world_repeater(void); // the next answer
bool world_file_exists(const char *path);
const char *world_link_target(const char *path); // null when there is no such link

// What was scripted for the command; null when nothing was.
const struct world_answer *world_answer(const char *command);

void world_mark(void);
void world_put_back(void);
void world_reset(void);
