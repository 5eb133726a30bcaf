// The scripted world that a case plays in: device, configuration, answers of commands, files, faults.
// The case reader changes it line by line, the platform functions look it up.
#pragma once

#include "tests/recorded/player/text.h"

#include <stdbool.h>
#include <stddef.h>

struct json_object;

// --- Changed by the case -------------------------------------------------------------------------

// Ends the program with status 2 and a message that names the case's file and line.
__attribute__((noreturn, format(printf, 1, 2))) void refuse(const char *format, ...);
extern const char *case_path;
extern size_t case_line;

void world_begin_section(void); // a command answered in this section forgets its answers of earlier sections

// Each takes one line of its section and refuses a malformed one.
void world_device_line(const char *line);
void world_uci_line(const char *line);
void world_answer_line(const char *line);
void world_file_line(const char *line);
void world_fault_line(const char *line);

// --- Looked up by the platform -------------------------------------------------------------------

const char *world_model(void);
const char *world_service_code(void);
const char *world_ddns_name(void); // may be null
bool world_repeater(void);         // the next answer of the script; the last one stays

const char *uci_value(const char *path); // null when missing
void uci_put(const char *path, const char *value);
bool uci_remove(const char *path); // with a section goes what is in it; false when missing
int uci_sections(const char *package, const char *type);
void uci_show(struct text *out); // path=value lines in order of insertion

// The status of a command (0 unless scripted).
int answer_status(const char *command);
// The first output line; null when the command gives no output.
const struct text *answer_line(const char *command);
// Appends the whole output.
void answer_output(const char *command, struct text *out);
// A new reference to the companion route's members; null when no plug-in has the route.
struct json_object *answer_dispatch(const char *path);

bool file_exists(const char *path);
const char *file_target(const char *path); // of a symbolic link; otherwise null
void files_sleep(void);                    // one sleep has passed

enum fault {
    fault_zuci2_init,
    fault_zuci2_set,
    fault_zuci2_commit,
    fault_popen,
    fault_fopen,
    fault_crypt_null,
    fault_crypt_star,
    fault_crypt_long,
    fault_iwpriv,
    fault_count
};
bool world_has_fault(enum fault fault);
