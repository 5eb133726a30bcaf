// SPDX-License-Identifier: Apache-2.0
// The byte buffer and the notation of texts in case files.
#include "tests/recorded/player/text.h"

#include <ctype.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { shortest_run = 64, longest_run = 100000000 };

void *allocate(size_t size) {
    void *block = calloc(1, size);
    if (!block) {
        abort();
    }
    return block;
}

char *copy_bytes(const char *bytes, size_t length) {
    char *copy = allocate(length + 1);
    memcpy(copy, bytes, length);
    return copy;
}

static void reserve(struct text *text, size_t more) {
    size_t needed = text->length + more + 1;
    if (needed <= text->capacity) {
        return;
    }
    text->capacity = 2 * needed;
    text->data = realloc(text->data, text->capacity);
    if (!text->data) {
        abort();
    }
}

void text_append(struct text *text, const char *bytes, size_t length) {
    reserve(text, length);
    memcpy(text->data + text->length, bytes, length);
    text->length += length;
    text->data[text->length] = '\0';
}

void text_add(struct text *text, const char *string) { text_append(text, string, strlen(string)); }

void text_format(struct text *text, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    int length = vsnprintf(NULL, 0, format, arguments);
    va_end(arguments);
    reserve(text, (size_t)length);
    va_start(arguments, format);
    vsnprintf(text->data + text->length, (size_t)length + 1, format, arguments);
    va_end(arguments);
    text->length += (size_t)length;
}

const char *text_string(const struct text *text) { return text->data ? text->data : ""; }

void text_free(struct text *text) {
    free(text->data);
    *text = (struct text){0};
}

static void append_repeated(struct text *text, char character, size_t count) {
    reserve(text, count);
    memset(text->data + text->length, character, count);
    text->length += count;
    text->data[text->length] = '\0';
}

// The length of the UTF-8 character of two bytes or more at the start; 0 when there is none.
static size_t utf8_length(const unsigned char *bytes, size_t left) {
    static const struct {
        unsigned mask, lead, first, last;
    } forms[] = {{0xe0, 0xc0, 0x80, 0x7ff}, {0xf0, 0xe0, 0x800, 0xffff}, {0xf8, 0xf0, 0x10000, 0x10ffff}};
    for (size_t form = 0; form < sizeof forms / sizeof *forms; form++) {
        size_t length = form + 2;
        if ((bytes[0] & forms[form].mask) != forms[form].lead || length > left) {
            continue;
        }
        unsigned long point = bytes[0] & ~forms[form].mask & 0xffU;
        for (size_t i = 1; i < length; i++) {
            if ((bytes[i] & 0xc0U) != 0x80) {
                return 0;
            }
            point = point << 6 | (bytes[i] & 0x3fU);
        }
        bool surrogate = point >= 0xd800 && point <= 0xdfff;
        return point < forms[form].first || point > forms[form].last || surrogate ? 0 : length;
    }
    return 0;
}

static size_t run_length(const char *bytes, size_t left, enum notation notation) {
    unsigned char first = (unsigned char)bytes[0];
    bool escape = notation == notation_json && (first == '"' || first == '\\');
    if (first < ' ' || first > '~' || escape) {
        return 1;
    }
    size_t run = 1;
    while (run < left && bytes[run] == bytes[0]) {
        run++;
    }
    return run;
}

static void show_byte(struct text *out, char byte, enum notation notation) {
    static const char escaped[] = "\n\t\r\\";
    static const char letters[] = "ntr\\";
    const char *escape = byte && notation == notation_plain ? strchr(escaped, byte) : NULL;
    unsigned char code = (unsigned char)byte;
    if (escape) {
        text_format(out, "\\%c", letters[escape - escaped]);
    } else if (code < ' ' || code > '~') {
        text_format(out, "\\x%02x", code);
    } else {
        text_append(out, &byte, 1);
    }
}

void text_show(struct text *out, const char *bytes, size_t length, enum notation notation) {
    for (size_t i = 0; i < length;) {
        size_t left = length - i;
        size_t run = run_length(bytes + i, left, notation);
        size_t character = utf8_length((const unsigned char *)bytes + i, left);
        if (run >= shortest_run) {
            text_format(out, "${%c*%zu}", bytes[i], run);
            i += run;
        } else if (left > 1 && bytes[i] == '$' && bytes[i + 1] == '{') {
            text_add(out, "${$*1}");
            i++;
        } else if (character > 0) {
            text_append(out, bytes + i, character);
            i += character;
        } else {
            show_byte(out, bytes[i], notation);
            i++;
        }
    }
}

// Each expand_ function takes the notation element at shown and gives its length there; 0 when it is
// malformed.
static size_t expand_run(struct text *out, const char *shown, size_t left) {
    size_t digits = 4;
    unsigned long count = 0;
    while (digits < left && isdigit((unsigned char)shown[digits]) && count <= longest_run) {
        count = 10 * count + (unsigned long)(shown[digits] - '0');
        digits++;
    }
    if (left < 6 || shown[3] != '*' || digits == left || shown[digits] != '}' || count < 1 ||
        count > longest_run) {
        return 0;
    }
    append_repeated(out, shown[2], count);
    return digits + 1;
}

static size_t expand_hexadecimal(struct text *out, const char *shown, size_t left) {
    if (left < 4 || !isxdigit((unsigned char)shown[2]) || !isxdigit((unsigned char)shown[3])) {
        return 0;
    }
    char digits[3] = {shown[2], shown[3], '\0'};
    append_repeated(out, (char)strtoul(digits, NULL, 16), 1);
    return 4;
}

static size_t expand_escape(struct text *out, const char *shown, size_t left, enum notation notation) {
    if (left < 2) {
        return 0;
    }
    if (shown[1] == 'x') {
        return expand_hexadecimal(out, shown, left);
    }
    if (notation == notation_json) {
        text_append(out, shown, 2);
        return 2;
    }
    switch (shown[1]) {
    case 'n':
        text_add(out, "\n");
        return 2;
    case 't':
        text_add(out, "\t");
        return 2;
    case 'r':
        text_add(out, "\r");
        return 2;
    case '\\':
        text_add(out, "\\");
        return 2;
    default:
        return 0;
    }
}

bool text_expand(struct text *out, const char *shown, size_t length, enum notation notation) {
    for (size_t i = 0; i < length;) {
        size_t left = length - i;
        size_t taken = 1;
        if (left > 1 && shown[i] == '$' && shown[i + 1] == '{') {
            taken = expand_run(out, shown + i, left);
        } else if (shown[i] == '\\') {
            taken = expand_escape(out, shown + i, left, notation);
        } else {
            text_append(out, shown + i, 1);
        }
        if (taken == 0) {
            return false;
        }
        i += taken;
    }
    return true;
}
