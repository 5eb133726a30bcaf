// SPDX-License-Identifier: Apache-2.0
// The world that the plug-in is played in: device, configuration, files, answers of commands, faults.
//
// A play describes it with the functions below; what the plug-in does then changes it. stage_mark and
// stage_put_back (stage.h) bring it back.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

struct json_object;

// --- Device --------------------------------------------------------------------------------------

// Texts are borrowed: they must stay as they are until another device is set.
struct stage_device {
    const char *model;
    const char *service_code;
    const char *ddns_name; // may be null
    bool internet;         // whether a ping is answered; asked only when the stage acts (see below)
    const char *log;       // the system log as logread gives it; null: empty; likewise
    // Gives 64 hexadecimal digits and a NUL of the text's digest, 0. Null: "sha256(TEXT)", cut to 64
    // characters.
    int (*sha256)(const char *text, char *output);
};

void stage_set_device(const struct stage_device *device);

// Successive answers to the question whether the repeater uplink is up; the last one stays. None: always
// down. Borrowed.
void stage_set_repeater(const bool *answers, size_t count);

// --- Configuration -------------------------------------------------------------------------------

// UCI, as a play provides it. Paths are those of zuci2_get and the like; a text that get gives stays valid
// until the next call of any of these. mark and put_back may be null; stage_mark and stage_put_back call
// them.
struct stage_uci {
    void *context;                                       // passed to every function
    const char *(*get)(void *context, const char *path); // null when missing; list values joined by a space
    bool (*set)(void *context, const char *path, const char *value); // false when it cannot be recorded
    bool (*remove)(void *context, const char *path);                 // false when there is nothing to remove
    bool (*commit)(void *context, const char *package);
    void (*commit_all)(void *context); // "uci commit"; only when the stage acts
    int (*section_count)(void *context, const char *package, const char *type);
    void (*mark)(void *context);
    void (*put_back)(void *context);
};

void stage_set_uci(const struct stage_uci *uci);

// --- Files ---------------------------------------------------------------------------------------

// Each replaces what was at the path. Contents are copied.
void stage_put_file(const char *path, const char *content, size_t length);
void stage_put_link(const char *path, const char *target);
void stage_put_late_file(const char *path, int sleeps); // empty; exists once that many sleeps have passed

bool stage_remove_file(const char *path); // false when there is none

// The content, NUL-terminated behind its *length bytes (length may be null); null when there is no such file.
const char *stage_file(const char *path, size_t *length);

// --- Commands ------------------------------------------------------------------------------------

// The command's output and exit status, matched to the letter; replaces its earlier answer. The output is
// copied. A command without an answer gives no output and status 0.
void stage_answer(const char *command, int status, const char *output, size_t length);

// Has popen give the stream that open returns, for outputs that are too long to be held.
void stage_answer_from(const char *command, FILE *(*open)(void));

// Forgets the answer; false when there is none.
bool stage_forget_answer(const char *command);

// Another plug-in's route as custom_api_dispatcher reaches it: adds to the response and returns its result,
// -1 when no plug-in has the route. Null (as at the start): no other plug-in.
typedef int stage_dispatcher(void *context, const char *path, struct json_object *request,
                             struct json_object *response);
void stage_set_dispatcher(stage_dispatcher *dispatcher, void *context);

// Told of each member of the request that the plug-in asks for, whether it is there or not. Null: nobody.
typedef void stage_listener(void *context, const char *member);
void stage_set_listener(stage_listener *listener, void *context);

// Whether commands and written files act on the world. While false (as at the start) commands do and answer
// only what was scripted with stage_answer, and a file that is written stays out of the world. While true a
// command that was not scripted is understood by its form (commands.c): one that asks is answered from the
// world, one that writes changes it. What cannot be evaluated as the router's shell would is marked on its
// effect: `unforeseen`.
void stage_set_acting(bool acting);

// --- Faults --------------------------------------------------------------------------------------

enum stage_fault {
    stage_fault_zuci2_init, // no context can be opened
    stage_fault_zuci2_set,
    stage_fault_zuci2_commit,
    stage_fault_popen,
    stage_fault_fopen,
    stage_fault_crypt_null, // crypt gives null,
    stage_fault_crypt_star, // "*0",
    stage_fault_crypt_long, // a refusal longer than any setting
    stage_fault_iwpriv,
    stage_fault_count
};
void stage_set_fault(enum stage_fault fault, bool present);

#ifdef __cplusplus
}
#endif
