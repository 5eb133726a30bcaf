// SPDX-License-Identifier: Apache-2.0
// System calls of this process that fail on demand.
#include "tests/fuzz/faults.h"

#include <cerrno>
#include <cstdarg>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t never = static_cast<size_t>(-1);

size_t calls_left = never;  // before the one that fails
size_t death_later = never; // calls between an error and the death that follows it
fuzz::failure kind = fuzz::failure::error;
bool has_failed = false;
bool dead = false;
bool is_full = false; // after a write that took a part, for the rest of it

// Whether this call fails.
bool fails(int error) {
    if (dead) {
        errno = EIO;
        return true;
    }
    if (calls_left == never)
        return false;
    if (calls_left != 0) {
        --calls_left;
        return false;
    }
    calls_left = std::exchange(death_later, never);
    has_failed = true;
    dead = kind == fuzz::failure::death;
    kind = fuzz::failure::death;
    errno = error;
    return true;
}

} // namespace

namespace fuzz {

void fail_call(size_t number, failure wanted) {
    calls_left = number;
    death_later = never;
    kind = wanted;
    has_failed = false;
    dead = is_full = false;
}

void fail_and_die(size_t number, size_t later) {
    fail_call(number, failure::error);
    death_later = later;
}

bool is_dead() { return dead; }

bool stop_failing() {
    calls_left = death_later = never;
    dead = is_full = false;
    return has_failed;
}

} // namespace fuzz

// NOLINTBEGIN(clang-diagnostic-reserved-identifier)
extern "C" {

int __real_open(const char *path, int flags, ...);
ssize_t __real_write(int descriptor, const void *data, size_t size);
int __real_ftruncate(int descriptor, off_t length);
int __real_fsync(int descriptor);
int __real_fchmod(int descriptor, mode_t mode);
int __real_rename(const char *from, const char *to);
int __real_unlink(const char *path);
int __real_mkdir(const char *path, mode_t mode);
int __real_mkostemp(char *path, int flags);

int __wrap_open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return fails(EMFILE) ? -1 : __real_open(path, flags, mode);
}

// Half of the text still reaches the disk.
ssize_t __wrap_write(int descriptor, const void *data, size_t size) {
    if (std::exchange(is_full, false)) {
        errno = ENOSPC;
        return -1;
    }
    const bool was_dead = dead;
    if (!fails(ENOSPC))
        return __real_write(descriptor, data, size);
    if (was_dead || size <= 1)
        return -1;
    const ssize_t written = __real_write(descriptor, data, size / 2);
    is_full = !dead;
    return dead ? -1 : written;
}

int __wrap_ftruncate(int descriptor, off_t length) {
    return fails(EIO) ? -1 : __real_ftruncate(descriptor, length);
}
int __wrap_fsync(int descriptor) { return fails(EIO) ? -1 : __real_fsync(descriptor); }
int __wrap_fchmod(int descriptor, mode_t mode) { return fails(EPERM) ? -1 : __real_fchmod(descriptor, mode); }
int __wrap_rename(const char *from, const char *to) { return fails(EXDEV) ? -1 : __real_rename(from, to); }
int __wrap_unlink(const char *path) { return fails(EIO) ? -1 : __real_unlink(path); }
int __wrap_mkdir(const char *path, mode_t mode) { return fails(ENOSPC) ? -1 : __real_mkdir(path, mode); }
int __wrap_mkostemp(char *path, int flags) { return fails(ENOSPC) ? -1 : __real_mkostemp(path, flags); }

} // extern "C"
// NOLINTEND(clang-diagnostic-reserved-identifier)
