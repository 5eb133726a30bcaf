// SPDX-License-Identifier: Apache-2.0
// The C library's streams: commands' outputs, and files that are written into memory.
#include "devkit/rehearsal/commands.h"
#include "devkit/rehearsal/library.h"
#include "devkit/rehearsal/platform.h"
#include "devkit/rehearsal/record.h"
#include "devkit/rehearsal/stage.h"
#include "devkit/rehearsal/world_state.h"

#include <errno.h>
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

// Some C libraries have a macro of this name, and others declare it for 32-bit builds only.
#undef fopen64
FILE *fopen64(const char *path, const char *mode);

struct stream {
    FILE *file;
    bool pipe;
    const char *name; // the command or the path
    int status;       // of the command
    char *content;    // of a file
    size_t length;
    struct stream *next;
};

static struct stream *streams;

static struct stream *stream_open(const char *name, bool pipe) {
    struct stream *stream = record_memory(sizeof *stream);
    *stream = (struct stream){.name = record_text(name), .pipe = pipe, .next = streams};
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
    library_function("fclose", &close);
    return close(file);
}

static void record_written(const struct stream *stream) {
    struct stage_effect *effect = record(stage_write, stage_done, stream->name);
    effect->value = record_bytes(stream->content, stream->length);
    effect->length = stream->length;
    if (world.acting) {
        stage_put_file(stream->name, stream->content, stream->length);
    }
}

static int stream_close(struct stream *stream) {
    int result = library_fclose(stream->file);
    if (!stream->pipe) {
        record_written(stream);
    }
    struct stream **link = &streams;
    while (*link != stream) {
        link = &(*link)->next;
    }
    *link = stream->next;
    free(stream->content);
    return result;
}

static FILE *open_file(const char *path, const char *mode) {
    if (world.faults[stage_fault_fopen] || mode[0] != 'w') {
        record(stage_open, stage_failed, path)->parameter = record_text(mode);
        errno = EACCES;
        return NULL;
    }
    struct stream *stream = stream_open(path, false);
    stream->file = open_memstream(&stream->content, &stream->length);
    return stream->file;
}

FILE *fopen(const char *path, const char *mode) {
    if (platform_is_on()) {
        return open_file(path, mode);
    }
    FILE *(*library_fopen)(const char *, const char *);
    library_function("fopen", &library_fopen);
    return library_fopen(path, mode);
}

FILE *fopen64(const char *path, const char *mode) {
    if (platform_is_on()) {
        return open_file(path, mode);
    }
    FILE *(*library_fopen)(const char *, const char *);
    library_function("fopen64", &library_fopen);
    return library_fopen(path, mode);
}

int fclose(FILE *file) {
    struct stream *stream = stream_find(file);
    if (!stream) {
        return library_fclose(file);
    }
    if (stream->pipe) {
        stage_add_violation("pipe closed with fclose: %s", stream->name);
    }
    return stream_close(stream);
}

// Reads the text. One byte in front is read away at once: not every C library opens a stream of no bytes.
static FILE *open_output(const struct world_answer *answer) {
    size_t length = answer->output ? answer->length : 0;
    char *bytes = record_memory(length + 1);
    if (length > 0) {
        memcpy(bytes + 1, answer->output, length);
    }
    FILE *file = fmemopen(bytes, length + 1, "r");
    fgetc(file);
    return file;
}

FILE *popen(const char *command, const char *mode) {
    if (!platform_is_on()) {
        library_refuse_command(command);
    }
    if (world.faults[stage_fault_popen] || strcmp(mode, "r") != 0) {
        record(stage_popen, stage_failed, command);
        errno = EMFILE;
        return NULL;
    }
    struct world_answer answer = command_run(stage_popen, command);
    struct stream *stream = stream_open(command, true);
    stream->status = answer.status;
    stream->file = answer.open ? answer.open() : open_output(&answer);
    return stream->file;
}

int pclose(FILE *file) {
    struct stream *stream = stream_find(file);
    if (!file || !stream || !stream->pipe) {
        stage_add_violation("pclose of what is no open pipe");
        errno = ECHILD;
        return -1;
    }
    int status = stream->status << 8;
    stream_close(stream);
    return status;
}

void platform_end_streams(void) {
    while (streams) {
        stage_add_violation("%s left open: %s", streams->pipe ? "pipe" : "file", streams->name);
        stream_close(streams);
    }
}
