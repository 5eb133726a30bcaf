// SPDX-License-Identifier: Apache-2.0
// What the plug-in did during a call, in order, and what it may never do.
#pragma once

#include <stdbool.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// What each kind has in `subject`, and beside it.
enum stage_kind {
    stage_log,       // message as it was formatted; number: the priority
    stage_set,       // path; value
    stage_delete,    // path
    stage_commit,    // package
    stage_system,    // command, of system(3)
    stage_exec,      // command, of execCommand
    stage_fork,      // command, of fork_exec2
    stage_line,      // command, of getShellCommandReturnLine
    stage_ucireturn, // command, of getUciReturn
    stage_popen,     // command
    stage_sync,      // (null)
    stage_sleep,     // (null)
    stage_dispatch,  // path of the route
    stage_iwpriv,    // interface; parameter; value
    stage_write,     // path of a file that was written and closed; value: its content, of `length` bytes
    stage_open,      // path of a file that could not be opened (always failed); parameter: the mode
    stage_kind_count
};

enum stage_outcome {
    stage_done,
    stage_failed,     // by a fault, by a null argument, or because the configuration has no such section
    stage_missing,    // nothing there to delete
    stage_no_context, // with a null or freed UCI context
};

// Every text is NUL-terminated, and null where the plug-in passed null.
struct stage_effect {
    enum stage_kind kind;
    enum stage_outcome outcome;
    const char *subject;
    const char *parameter;
    const char *value;
    size_t length;   // of value, for stage_write
    int number;      // the priority, for stage_log
    int seconds;     // that the handler waited for it: a sleep, or a command that is known to take its time
    const char *key; // the batch key of the row during which it happened, null outside of every row
    bool unforeseen; // only a shell could tell what the command answers and does
};

// A broken rule of the platform's or the daemon's contracts, in words.
struct stage_violation {
    const char *text;
    const char *key; // as above
};

// The word for a kind, as in "ucireturn"; for a priority of the log, as in "info".
const char *stage_kind_name(enum stage_kind kind);
const char *stage_priority_name(int priority);

// Of the last call. They stay valid until the next call, stage_put_back or stage_clear.
const struct stage_effect *stage_effects(size_t *count);
const struct stage_violation *stage_violations(size_t *count);

#ifdef __cplusplus
}
#endif
