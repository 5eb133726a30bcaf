// SPDX-License-Identifier: Apache-2.0
// Whether a file is still the one that was read.
#pragma once

#include <optional>
#include <string>

#include <sys/stat.h>

namespace uci {

// Equal stamps of one path mean an unchanged file if the earlier one was settled when the file was read.
struct file_stamp {
    dev_t device;
    ino_t inode;
    off_t size;
    long long modified; // nanoseconds since 1970
    long long changed;  // the same; unlike the time before, no program can set it

    bool operator==(const file_stamp &) const = default;

    // Whether everything that is written from now on will give another stamp. A file's times advance in
    // steps, those of the kernel's clock or of the file system: what is written within the step of the last
    // change can leave them, and the size, as they are.
    bool is_settled() const;
};

// Nothing when no file is there. Throws io_error.
std::optional<file_stamp> stamp_of(const std::string &path);

} // namespace uci
