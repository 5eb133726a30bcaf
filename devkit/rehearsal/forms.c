// SPDX-License-Identifier: Apache-2.0
// Matching of commands' forms, and the shell's quoting.
#include "devkit/rehearsal/forms.h"

#include <ctype.h>
#include <string.h>

struct part {
    const char *text;
    size_t length;
};

// The parts of the form between its holes; their number.
static size_t split(const char *form, struct part parts[most_holes + 1]) {
    size_t count = 0;
    for (;;) {
        size_t length = strcspn(form, "%");
        parts[count++] = (struct part){form, length};
        if (form[length] == '\0') {
            return count;
        }
        form += length + 1;
    }
}

// The last place in a text of that length where the part, which is not empty, stands whole; null when there
// is none.
static const char *find_last(const char *text, size_t length, struct part part) {
    for (; length >= part.length; length--) {
        if (memcmp(text + length - part.length, part.text, part.length) == 0) {
            return text + length - part.length;
        }
    }
    return NULL;
}

static bool begins_with(const char *text, struct part part) {
    return strncmp(text, part.text, part.length) == 0;
}

static bool ends_with(const char *text, struct part part) {
    size_t length = strlen(text);
    return length >= part.length && memcmp(text + length - part.length, part.text, part.length) == 0;
}

bool form_matches(const char *form, const char *command, struct form_holes *holes) {
    struct part parts[most_holes + 1];
    size_t last = split(form, parts) - 1;
    if (last == 0) {
        return strcmp(form, command) == 0;
    }
    if (!begins_with(command, parts[0]) || !ends_with(command + parts[0].length, parts[last])) {
        return false;
    }
    const char *begin = command + parts[0].length;
    const char *end = command + strlen(command) - parts[last].length;
    for (size_t hole = last; hole-- > 0;) {
        const char *at = hole == 0 ? begin : find_last(begin, (size_t)(end - begin), parts[hole]);
        if (!at) {
            return false;
        }
        holes->text[hole] = hole == 0 ? begin : at + parts[hole].length;
        holes->length[hole] = (size_t)(end - holes->text[hole]);
        end = at;
    }
    return true;
}

bool is_plain_word(const char *text, size_t length) {
    if (length == 0 || strchr("-~#", text[0])) {
        return false;
    }
    for (size_t i = 0; i < length; i++) {
        if (strchr(" \t\n\v\f\r'\"\\$`()<>|&;", text[i])) {
            return false;
        }
    }
    return true;
}

// Whether a "$" begins an expansion with this behind it; length: of what is left.
static bool is_expansion(const char *behind, size_t length) {
    unsigned char first = length > 0 ? (unsigned char)behind[0] : '\0';
    return first && (isalnum(first) || strchr("_@*#?-$!{(", first));
}

bool unquote(const char *text, size_t length, char *out) {
    for (size_t i = 0; i < length; i++) {
        char next = i + 1 < length ? text[i + 1] : '\0';
        if (text[i] == '\\' && next == '\n') {
            i++; // continues the line
        } else if (text[i] == '\\' && next && strchr("$`\"\\", next)) {
            *out++ = text[++i];
        } else if (strchr("\"`", text[i]) || (text[i] == '\\' && !next) ||
                   (text[i] == '$' && is_expansion(text + i + 1, length - i - 1))) {
            return false;
        } else {
            *out++ = text[i];
        }
    }
    *out = '\0';
    return true;
}
