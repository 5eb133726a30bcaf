// SPDX-License-Identifier: Apache-2.0
// Preloaded into a program: lets the FAULT_CALL-th call that changes a file, and those up to FAULT_LAST, fail
// with FAULT_ERRNO, or ends the program in its place when that is 0, and writes the call's name to the file
// FAULT_SEEN. In place of the FAULT_KILL-th it always ends. Counts calls on files beyond standard error only.
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

static int number_from(const char *variable) {
    const char *text = getenv(variable);
    return text == NULL ? -1 : atoi(text);
}

static int is_chosen(int call) {
    const int first = number_from("FAULT_CALL");
    const int last = number_from("FAULT_LAST");
    return call == first || (call > first && call <= last) || call == number_from("FAULT_KILL");
}

static int fails(const char *name) {
    static int calls = 0;
    if (!is_chosen(++calls))
        return 0;
    const int seen = creat(getenv("FAULT_SEEN"), 0600);
    syscall(SYS_write, seen, name, strlen(name));
    close(seen);
    const int number = number_from("FAULT_ERRNO");
    if (number == 0 || calls == number_from("FAULT_KILL"))
        raise(SIGKILL);
    errno = number;
    return 1;
}

#define REAL(name) (__extension__(__typeof__(&(name))) dlsym(RTLD_NEXT, #name))

ssize_t write(int descriptor, const void *data, size_t size) {
    // Half of the data goes out before a program is ended or a disk is full.
    if (descriptor > STDERR_FILENO && fails("write"))
        return -1;
    return REAL(write)(descriptor, data, descriptor > STDERR_FILENO && size > 1 ? size / 2 : size);
}

int fsync(int descriptor) { return fails("fsync") ? -1 : REAL(fsync)(descriptor); }

int fchmod(int descriptor, mode_t mode) { return fails("fchmod") ? -1 : REAL(fchmod)(descriptor, mode); }

int ftruncate(int descriptor, off_t length) {
    return fails("ftruncate") ? -1 : REAL(ftruncate)(descriptor, length);
}

int rename(const char *from, const char *to) { return fails("rename") ? -1 : REAL(rename)(from, to); }

int mkostemp(char *path, int flags) { return fails("mkostemp") ? -1 : REAL(mkostemp)(path, flags); }
