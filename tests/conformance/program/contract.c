// SPDX-License-Identifier: Apache-2.0
// Verdicts, comparisons and files of the checks.
#include "tests/conformance/program/contract.h"

#include "tests/conformance/program/verdict.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include <time.h>
#include <unistd.h>

static int report = -1;

void set_report(int descriptor) { report = descriptor; }

// A report is one line of plain text, whatever a library gave.
static _Noreturn void end(enum verdict verdict, const char *format, va_list arguments) {
    char text[REPORT_SIZE];
    vsnprintf(text, sizeof text, format, arguments);
    for (char *byte = text; *byte != '\0'; ++byte)
        if (*byte < ' ' || *byte > '~')
            *byte = '?';
    // A report that cannot be written leaves its line without a reason, not without a verdict.
    const ssize_t written = write(report, text, strlen(text));
    (void)written;
    _exit((int)verdict);
}

void pass(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    end(KEPT, format, arguments);
}

void fail(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    end(BROKEN, format, arguments);
}

void skip(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    end(SKIPPED, format, arguments);
}

void expect_success(const char *what, int result) {
    if (result != 0)
        fail("%s gives %d, not 0", what, result);
}

void expect_error(const char *what, int result) {
    if (result == 0)
        fail("%s gives 0, not an error", what);
}

void expect_text(const char *what, const char *actual, const char *expected) {
    if (actual == NULL)
        fail("%s gives null, not \"%.60s\"", what, expected);
    if (strcmp(actual, expected) != 0)
        fail("%s gives \"%.60s\" of %zu bytes, not \"%.60s\" of %zu", what, actual, strlen(actual), expected,
             strlen(expected));
}

void expect_int(const char *what, long actual, long expected) {
    if (actual != expected)
        fail("%s gives %ld, not %ld", what, actual, expected);
}

static bool is_cleared(const char *bytes, size_t size) {
    while (size > 0 && bytes[size - 1] == '~')
        --size;
    return size == 0;
}

void clear_buffer(struct platform_buffer *buffer) { memset(buffer, '~', sizeof *buffer); }

void expect_guarded(const char *what, const struct platform_buffer *buffer) {
    if (!is_cleared(buffer->guard, sizeof buffer->guard))
        fail("%s writes beyond 4096 bytes", what);
}

void expect_buffer(const char *what, const struct platform_buffer *buffer, const char *expected) {
    expect_guarded(what, buffer);
    if (memchr(buffer->text, '\0', sizeof buffer->text) == NULL)
        fail("%s writes no NUL", what);
    expect_text(what, buffer->text, expected);
}

void expect_untouched(const char *what, const struct platform_buffer *buffer) {
    if (!is_cleared(buffer->text, sizeof buffer->text) || !is_cleared(buffer->guard, sizeof buffer->guard))
        fail("%s writes to the buffer", what);
}

bool wait_until(bool (*condition)(const char *argument), const char *argument) {
    const struct timespec ten_milliseconds = {.tv_nsec = 10000000};
    for (int turns = 0; turns < 500; ++turns) {
        if (condition(argument))
            return true;
        nanosleep(&ten_milliseconds, NULL);
    }
    return false;
}

void write_file(const char *path, const char *text) {
    FILE *file = fopen(path, "we");
    if (file == NULL || fputs(text, file) < 0 || fclose(file) != 0)
        fail("%s cannot be written", path);
}

void read_file(const char *path, char *text, size_t size) {
    FILE *file = fopen(path, "re");
    const size_t length = file != NULL ? fread(text, 1, size - 1, file) : 0;
    text[length] = '\0';
    if (file != NULL)
        fclose(file);
}
