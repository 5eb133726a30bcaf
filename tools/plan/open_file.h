// SPDX-License-Identifier: Apache-2.0
// Files that are read and never trusted.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace plan {

class descriptor {
public:
    explicit descriptor(int number = -1) : number_(number) {}
    descriptor(descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
    descriptor &operator=(descriptor &&other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~descriptor();

    int number() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }

private:
    int number_;
};

// A file or folder below another folder; links are followed only where they stay below it. Closed with errno
// set when there is none.
descriptor open_below(const descriptor &folder, const std::string &path, int flags);

// Everything that can be read; nothing when that is more than limit bytes. Throws input_error.
std::optional<std::string> read_all(const descriptor &file, size_t limit);

// The names in a folder, sorted.
std::vector<std::string> names_in(descriptor folder);

} // namespace plan
