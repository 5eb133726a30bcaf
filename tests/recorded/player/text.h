// SPDX-License-Identifier: Apache-2.0
// A growing byte buffer, and the notation in which case files write texts.
#pragma once

#include <stdbool.h>
#include <stddef.h>

// Zero-initialise before use. data is NUL-terminated behind its length bytes, null as long as nothing was
// added.
struct text {
    char *data;
    size_t length;
    size_t capacity;
};

void text_append(struct text *text, const char *bytes, size_t length);
void text_add(struct text *text, const char *string);
__attribute__((format(printf, 2, 3))) void text_format(struct text *text, const char *format, ...);
const char *text_string(const struct text *text); // "" when nothing was added
void text_free(struct text *text);                // zero-initialised again

// A copy for the life of the process or until free; never null.
char *copy_bytes(const char *bytes, size_t length);

// A block of zeroed memory; never null.
void *allocate(size_t size);

// plain: control characters and the backslash are escaped as in C. json: the text is JSON, which has escapes
// of its own. In both, bytes that are not UTF-8 are \xNN and ${c*N} stands for N times the character c.
enum notation { notation_plain, notation_json };

// Appends bytes written in the notation; a run of 64 or more of one character becomes ${c*N}.
void text_show(struct text *out, const char *bytes, size_t length, enum notation notation);

// Appends the bytes that a text in the notation stands for; false when it is malformed.
bool text_expand(struct text *out, const char *shown, size_t length, enum notation notation);
