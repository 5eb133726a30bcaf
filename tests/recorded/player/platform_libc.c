// Recording platform: the C library's functions with an effect outside the process. The player exports these
// definitions, so they are the ones that the plug-in (and a sanitizer's run-time library) binds to.
#include "tests/recorded/player/journal.h"
#include "tests/recorded/player/platform.h"
#include "tests/recorded/player/world.h"

#include <crypt.h>
#include <dlfcn.h>
#include <errno.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

// Some C libraries have macros of these names.
#undef fopen64

// Names that only a fortified or a 32-bit build refers to have no declaration in the C library's headers.
// NOLINTBEGIN(bugprone-reserved-identifier)
FILE *fopen64(const char *path, const char *mode);
void __syslog_chk(int priority, int flag, const char *format, ...) __attribute__((format(printf, 3, 4)));
ssize_t __readlink_chk(const char *path, char *buffer, size_t length, size_t buffer_size);
// NOLINTEND(bugprone-reserved-identifier)

// --- Commands ------------------------------------------------------------------------------------

int system(const char *command) {
    journal_effect("system", command);
    return answer_status(command) << 8; // as waitpid reports an exit status
}

unsigned sleep(unsigned seconds) {
    char text[16];
    snprintf(text, sizeof text, "%u", seconds);
    journal_effect("sleep", text);
    files_sleep();
    return 0;
}

void sync(void) { journal_event("sync"); }

// --- Log -----------------------------------------------------------------------------------------

void vsyslog(int priority, const char *format, va_list arguments) {
    static const char *const names[] = {"emerg",   "alert",  "crit", "err",
                                        "warning", "notice", "info", "debug"};
    va_list again;
    va_copy(again, arguments);
    size_t length = (size_t)vsnprintf(NULL, 0, format, again);
    va_end(again);
    char *message = allocate(length + 1);
    vsnprintf(message, length + 1, format, arguments);
    char verb[16];
    snprintf(verb, sizeof verb, "log %s", names[LOG_PRI(priority)]);
    journal_effect(verb, message);
    free(message);
}

void syslog(int priority, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

// NOLINTNEXTLINE(bugprone-reserved-identifier)
void __syslog_chk(int priority, int flag, const char *format, ...) {
    (void)flag;
    va_list arguments;
    va_start(arguments, format);
    vsyslog(priority, format, arguments);
    va_end(arguments);
}

// --- Files ---------------------------------------------------------------------------------------

int access(const char *path, int mode) {
    (void)mode;
    if (file_exists(path)) {
        return 0;
    }
    errno = ENOENT;
    return -1;
}

ssize_t readlink(const char *path, char *buffer, size_t length) {
    const char *target = file_target(path);
    if (!target) {
        errno = file_exists(path) ? EINVAL : ENOENT;
        return -1;
    }
    size_t copied = strlen(target) < length ? strlen(target) : length;
    memcpy(buffer, target, copied); // NOLINT(bugprone-not-null-terminated-result): readlink adds no NUL
    return (ssize_t)copied;
}

// NOLINTNEXTLINE(bugprone-reserved-identifier)
ssize_t __readlink_chk(const char *path, char *buffer, size_t length, size_t buffer_size) {
    if (length > buffer_size) {
        journal_violation("readlink of %s may write behind its buffer", path);
        length = buffer_size;
    }
    return readlink(path, buffer, length);
}

// --- Streams -------------------------------------------------------------------------------------

// A command's scripted output, or a file that is being written into memory.
struct stream {
    FILE *file;
    bool pipe;
    char *name; // the command or the path
    char *content;
    size_t length;
    struct stream *next;
};

static struct stream *streams;

static struct stream *stream_open(const char *name, bool pipe) {
    struct stream *stream = allocate(sizeof *stream);
    *stream = (struct stream){.name = copy_bytes(name, strlen(name)), .pipe = pipe, .next = streams};
    streams = stream;
    return stream;
}

static struct stream *stream_find(FILE *file) {
    struct stream *stream = streams;
    while (stream && stream->file != file) {
        stream = stream->next;
    }
    return stream;
}

static int library_fclose(FILE *file) {
    int (*close)(FILE *);
    void *symbol = dlsym(RTLD_NEXT, "fclose");
    memcpy(&close, &symbol, sizeof close);
    return close(file);
}

static void journal_written(const struct stream *stream) {
    journal_effect("write", stream->name);
    for (size_t start = 0; start < stream->length;) {
        const char *line = stream->content + start;
        const char *end = memchr(line, '\n', stream->length - start);
        size_t length = end ? (size_t)(end - line) : stream->length - start;
        journal_written_line(line, length, end != NULL);
        start += length + 1;
    }
}

static int stream_close(struct stream *stream) {
    int result = library_fclose(stream->file);
    if (!stream->pipe) {
        journal_written(stream);
    }
    struct stream **link = &streams;
    while (*link != stream) {
        link = &(*link)->next;
    }
    *link = stream->next;
    free(stream->name);
    free(stream->content);
    free(stream);
    return result;
}

static void journal_open_failed(const char *path, const char *mode) {
    struct text text = {0};
    text_format(&text, "%s %s", path, mode);
    journal_effect("open-failed", text_string(&text));
    text_free(&text);
}

FILE *fopen(const char *path, const char *mode) {
    if (world_has_fault(fault_fopen) || mode[0] != 'w') {
        journal_open_failed(path, mode);
        errno = EACCES;
        return NULL;
    }
    struct stream *stream = stream_open(path, false);
    stream->file = open_memstream(&stream->content, &stream->length);
    return stream->file;
}

FILE *fopen64(const char *path, const char *mode) { return fopen(path, mode); }

int fclose(FILE *file) {
    struct stream *stream = stream_find(file);
    if (!stream) {
        return library_fclose(file);
    }
    if (stream->pipe) {
        journal_violation("pipe closed with fclose: %s", stream->name);
    }
    return stream_close(stream);
}

FILE *popen(const char *command, const char *mode) {
    bool fails = world_has_fault(fault_popen) || strcmp(mode, "r") != 0;
    journal_effect(fails ? "popen-failed" : "popen", command);
    if (fails) {
        errno = EMFILE;
        return NULL;
    }
    struct stream *stream = stream_open(command, true);
    // One byte in front, read away at once: not every C library opens a stream of no bytes.
    struct text output = {0};
    text_add(&output, "\n");
    answer_output(command, &output);
    stream->content = output.data;
    stream->length = output.length;
    stream->file = fmemopen(stream->content, stream->length, "r");
    fgetc(stream->file);
    return stream->file;
}

int pclose(FILE *file) {
    struct stream *stream = stream_find(file);
    if (!file || !stream || !stream->pipe) {
        journal_violation("pclose of what is no open pipe");
        errno = ECHILD;
        return -1;
    }
    int status = answer_status(stream->name) << 8;
    stream_close(stream);
    return status;
}

void platform_end_streams(void) {
    while (streams) {
        journal_violation("%s left open: %s", streams->pipe ? "pipe" : "file", streams->name);
        stream_close(streams);
    }
}

// --- Passwords -----------------------------------------------------------------------------------

char *crypt(const char *password, const char *setting) {
    static struct crypt_data data;
    static char failure[] = "*0";
    static char long_failure[] = "*a refusal longer than any setting";
    if (world_has_fault(fault_crypt_null)) {
        return NULL;
    }
    if (world_has_fault(fault_crypt_long)) {
        return long_failure;
    }
    return world_has_fault(fault_crypt_star) ? failure : crypt_r(password, setting, &data);
}
