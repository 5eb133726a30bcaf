// SPDX-License-Identifier: Apache-2.0
// Preloaded into the daemon: writes what goes to syslog to the file named by SYSLOG_RECORD, a line each, with
// the ident and the numbers of facility and priority.
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

static const char *ident = "none";
static int facility;

static void record(int priority, const char *format, va_list arguments) {
    FILE *file = fopen(getenv("SYSLOG_RECORD"), "ae");
    if (file == NULL)
        abort();
    fprintf(file, "%s %d %d ", ident, facility, priority);
    vfprintf(file, format, arguments);
    fputc('\n', file);
    fclose(file);
}

void openlog(const char *name, int option, int log_facility) {
    (void)option;
    ident = name;
    facility = log_facility;
}

void vsyslog(int priority, const char *format, va_list arguments) { record(priority, format, arguments); }

void syslog(int priority, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    record(priority, format, arguments);
    va_end(arguments);
}
