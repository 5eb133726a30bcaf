// SPDX-License-Identifier: Apache-2.0
// The filters that the plug-in's pipelines are made of.
#pragma once

#include <stdbool.h>
#include <stddef.h>

enum filter_kind {
    filter_text,       // lines that hold the pattern to the letter
    filter_word,       // ... as a word, as "grep -w" has it
    filter_expression, // lines that match the pattern, a basic regular expression
};

// Which lines are kept, and which of their fields are shown.
struct filter {
    enum filter_kind kind;
    const char *pattern;
    char separator;
    int first, last; // fields, from 1; a missing one is left out
    bool whole_line_without_separator;
};

// The fields of the lines that are kept, a line each, for the life of the record; null when there is none.
// Null text: no lines.
const char *filter_lines(const char *text, const struct filter *filter, size_t *length);
