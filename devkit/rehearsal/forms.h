// SPDX-License-Identifier: Apache-2.0
// Texts of commands: their forms, and what their quoted parts mean to the router's shell.
#pragma once

#include <stdbool.h>
#include <stddef.h>

enum { most_holes = 3 };

// What stands in a form's holes, in order; begins in the command, not terminated.
struct form_holes {
    const char *text[most_holes];
    size_t length[most_holes];
};

// Whether a command has the form: text with a "%" for each hole. A hole may be empty, and where there are
// several ways, the text behind it is found as late as possible: whatever a value holds stays within its
// hole.
bool form_matches(const char *form, const char *command, struct form_holes *holes);

// Whether the shell takes the text for one word as it stands: not empty, nothing to expand, no operator, no
// option.
bool is_plain_word(const char *text, size_t length);

// Writes what a text between double quotes means into out, which has room for length + 1 bytes; false when
// only a shell can tell: it ends the quotes, or holds an expansion.
bool unquote(const char *text, size_t length, char *out);
