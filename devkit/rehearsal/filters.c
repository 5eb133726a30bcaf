// SPDX-License-Identifier: Apache-2.0
// Filters of text, line by line.
#include "devkit/rehearsal/filters.h"

#include "devkit/rehearsal/record.h"

#include <locale.h>
#include <regex.h>
#include <stdlib.h>
#include <string.h>

struct line {
    const char *text;
    size_t length;
};

// --- Which lines are kept ------------------------------------------------------------------------

static bool has_text(struct line line, const char *text) {
    return memmem(line.text, line.length, text, strlen(text)) != NULL;
}

static bool is_word_character(char character) {
    return character && strchr("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_", character);
}

static bool has_word(struct line line, const char *word) {
    size_t length = strlen(word);
    const char *end = line.text + line.length;
    const char *at = line.text;
    while ((at = memmem(at, (size_t)(end - at), word, length))) {
        bool begins = at == line.text || !is_word_character(at[-1]);
        at += length;
        if (begins && (at == end || !is_word_character(*at))) {
            return true;
        }
    }
    return false;
}

static bool matches(struct line line, const regex_t *expression) {
    char *copy = strndup(line.text, line.length);
    bool found = copy && regexec(expression, copy, 0, NULL, 0) == 0;
    free(copy);
    return found;
}

static bool keeps(const struct filter *filter, const regex_t *expression, struct line line) {
    switch (filter->kind) {
    case filter_word:
        return has_word(line, filter->pattern);
    case filter_expression:
        return matches(line, expression);
    default:
        return has_text(line, filter->pattern);
    }
}

// --- What is shown of them -----------------------------------------------------------------------

static struct line cut_before(struct line line, char separator) {
    const char *end = memchr(line.text, separator, line.length);
    return (struct line){line.text, end ? (size_t)(end - line.text) : line.length};
}

static char *append(char *end, struct line line) {
    memcpy(end, line.text, line.length);
    return end + line.length;
}

// Appends what the filter shows of the line, without a line end; the new end.
static char *show_fields(struct line line, const struct filter *filter, char *end) {
    if (filter->whole_line_without_separator && !memchr(line.text, filter->separator, line.length)) {
        return append(end, line);
    }
    for (int number = 1; number <= filter->last; number++) {
        struct line field = cut_before(line, filter->separator);
        if (number >= filter->first) {
            end = append(end, field);
        }
        if (field.length == line.length) {
            return end;
        }
        line.text += field.length + 1;
        line.length -= field.length + 1;
        if (number >= filter->first && number < filter->last) {
            *end++ = filter->separator;
        }
    }
    return end;
}

// The beginning of the next line that can have the text in it; the end when there is none. Tables of hundreds
// of lines are searched for one.
static const char *skip_lines(const char *text, const char *end, const char *wanted) {
    const char *found = memmem(text, (size_t)(end - text), wanted, strlen(wanted));
    while (found && found > text && found[-1] != '\n') {
        found--;
    }
    return found ? found : end;
}

static size_t show_lines(const char *text, const struct filter *filter, const regex_t *expression,
                         char *out) {
    char *end = out;
    const char *text_end = text + strlen(text);
    while (text < text_end) {
        if (filter->kind == filter_text) {
            text = skip_lines(text, text_end, filter->pattern);
        }
        struct line line = cut_before((struct line){text, (size_t)(text_end - text)}, '\n');
        text += line.length;
        text += *text == '\n';
        if (keeps(filter, expression, line)) {
            end = show_fields(line, filter, end);
            *end++ = '\n';
        }
    }
    return (size_t)(end - out);
}

// Bytes are characters on the router. Nothing for an expression that is none.
static size_t show_matching_lines(const char *text, const struct filter *filter, char *out) {
    const locale_t before = uselocale(newlocale(LC_ALL_MASK, "C", NULL));
    regex_t expression;
    size_t length = 0;
    if (regcomp(&expression, filter->pattern, REG_NOSUB) == 0) {
        length = show_lines(text, filter, &expression, out);
        regfree(&expression);
    }
    uselocale(before);
    return length;
}

const char *filter_lines(const char *text, const struct filter *filter, size_t *length) {
    *length = 0;
    if (!text || !*text) {
        return NULL;
    }
    struct filter simplest = *filter;
    if (filter->kind == filter_expression && !strpbrk(filter->pattern, "\\.[*^$")) {
        simplest.kind = filter_text;
    }
    char *out = record_memory(strlen(text) + 2);
    *length = simplest.kind == filter_expression ? show_matching_lines(text, filter, out)
                                                 : show_lines(text, &simplest, NULL, out);
    return *length > 0 ? out : NULL;
}
