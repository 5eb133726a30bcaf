// SPDX-License-Identifier: Apache-2.0
// The C library's functions with an effect outside the process. The program exports these definitions, so
// they are the ones that the plug-in (and a sanitizer's run-time library) binds to. Outside of a call they
// are the C library's own, but for those that start commands: nothing of the plug-in's may ever run on this
// machine.
#include "devkit/rehearsal/commands.h"
#include "devkit/rehearsal/crypt_cache.h"
#include "devkit/rehearsal/library.h"
#include "devkit/rehearsal/platform.h"
#include "devkit/rehearsal/record.h"
#include "devkit/rehearsal/stage.h"
#include "devkit/rehearsal/world_state.h"

#include <dlfcn.h>
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

// Names that only a fortified build refers to have no declaration in the C library's headers.
// NOLINTBEGIN(clang-diagnostic-reserved-identifier)
void __syslog_chk(int priority, int flag, const char *format, ...) __attribute__((format(printf, 3, 4)));
ssize_t __readlink_chk(const char *path, char *buffer, size_t length, size_t buffer_size);
// NOLINTEND(clang-diagnostic-reserved-identifier)

void library_function(const char *name, void *function) {
    void *symbol = dlsym(RTLD_NEXT, name);
    if (!symbol) {
        fprintf(stderr, "the C library has no %s\n", name);
        abort();
    }
    memcpy(function, &symbol, sizeof symbol);
}

void library_refuse_command(const char *command) {
    fprintf(stderr, "a command outside of a call: %s\n", command ? command : "(null)");
    abort();
}

// --- Commands ------------------------------------------------------------------------------------

int system(const char *command) {
    if (!platform_is_on()) {
        library_refuse_command(command);
    }
    return command_run(stage_system, command).status << 8; // as waitpid reports an exit status
}

unsigned sleep(unsigned seconds) {
    if (!platform_is_on()) {
        unsigned (*library_sleep)(unsigned);
        library_function("sleep", &library_sleep);
        return library_sleep(seconds);
    }
    record(stage_sleep, stage_done, NULL)->seconds = (int)seconds;
    world.slept++;
    return 0;
}

void sync(void) {
    if (platform_is_on()) {
        record(stage_sync, stage_done, NULL);
        return;
    }
    void (*library_sync)(void);
    library_function("sync", &library_sync);
    library_sync();
}

// --- Log -----------------------------------------------------------------------------------------

void vsyslog(int priority, const char *format, va_list arguments) {
    if (!platform_is_on()) {
        void (*library_vsyslog)(int, const char *, va_list);
        library_function("vsyslog", &library_vsyslog);
        library_vsyslog(priority, format, arguments);
        return;
    }
    struct stage_effect *effect = record(stage_log, stage_done, NULL);
    effect->subject = record_format(format, arguments);
    effect->number = priority;
}

void syslog(int priority, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

void __syslog_chk(int priority, int flag, const char *format, ...) {
    (void)flag;
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

// --- Files ---------------------------------------------------------------------------------------

int access(const char *path, int mode) {
    if (!platform_is_on()) {
        int (*library_access)(const char *, int);
        library_function("access", &library_access);
        return library_access(path, mode);
    }
    if (world_file_exists(path)) {
        return 0;
    }
    errno = ENOENT;
    return -1;
}

ssize_t readlink(const char *path, char *buffer, size_t length) {
    if (!platform_is_on()) {
        ssize_t (*library_readlink)(const char *, char *, size_t);
        library_function("readlink", &library_readlink);
        return library_readlink(path, buffer, length);
    }
    const char *target = world_link_target(path);
    if (!target) {
        errno = world_file_exists(path) ? EINVAL : ENOENT;
        return -1;
    }
    size_t copied = strlen(target) < length ? strlen(target) : length;
    memcpy(buffer, target, copied); // NOLINT(bugprone-not-null-terminated-result): readlink adds no NUL
    return (ssize_t)copied;
}

ssize_t __readlink_chk(const char *path, char *buffer, size_t length, size_t buffer_size) {
    if (length > buffer_size) {
        stage_add_violation("readlink of %s may write behind its buffer", path);
        length = buffer_size;
    }
    return readlink(path, buffer, length);
}

// --- Passwords -----------------------------------------------------------------------------------

char *crypt(const char *password, const char *setting) {
    static char failure[] = "*0";
    static char long_failure[] = "*a refusal longer than any setting";
    if (world.faults[stage_fault_crypt_null]) {
        return NULL;
    }
    if (world.faults[stage_fault_crypt_long]) {
        return long_failure;
    }
    return world.faults[stage_fault_crypt_star] ? failure : crypt_remembered(password, setting);
}
