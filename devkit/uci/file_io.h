// SPDX-License-Identifier: Apache-2.0
// Checked system calls on files. Everything here throws io_error, or not_found for a file that is not there.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include <sys/stat.h>

namespace uci {

// An open file, closed with its scope. The kernel drops a lock on it at the same moment.
class file {
public:
    // Opening never waits, whatever the path is.
    file(const std::string &path, int flags, mode_t mode = 0);
    explicit file(int descriptor) : descriptor_(descriptor) {}
    file(file &&other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    file(const file &) = delete;
    file &operator=(const file &) = delete;
    file &operator=(file &&other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~file();

    enum class access { shared, exclusive };
    void lock(access wanted) const;

    struct stat status() const;
    std::string read() const;
    void write(std::string_view text) const;
    void truncate(size_t length) const;
    void set_mode(mode_t mode) const;
    void sync() const;
    void close();

private:
    int descriptor_;
};

// A new text for a file, complete and safe on the disk under a temporary name beside it. Put in place, a
// reader sees the old text or the new one, and no crash or full disk leaves anything between. The file keeps
// its mode, and the link where its path is one; a new file gets mode 0600.
class replacement {
public:
    replacement(const std::string &path, std::string_view text);
    replacement(const replacement &) = delete;
    replacement &operator=(const replacement &) = delete;
    // Without put_in_place nothing has happened.
    ~replacement();

    // What identity_of(path) will be once the text is in place.
    const std::string &identity() const { return identity_; }
    void put_in_place();

    // Once it is in place: that it stays there whatever happens. Throws io_error when the disk does not say
    // so.
    void confirm() const;

private:
    std::string target_;
    std::string temporary_;
    std::string identity_;
};

// Tells this content of the file from every earlier and later one.
std::string identity_of(const file &opened);

} // namespace uci
