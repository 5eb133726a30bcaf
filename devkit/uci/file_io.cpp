// SPDX-License-Identifier: Apache-2.0
// Checked system calls on files.
#include "devkit/uci/file_io.h"

#include "devkit/uci/error.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace uci {

namespace {

[[noreturn]] void fail() {
    if (errno == ENOENT)
        throw not_found();
    throw io_error(errno);
}

void check(bool fine) {
    if (!fine)
        fail();
}

} // namespace

file::file(const std::string &path, int flags, mode_t mode)
    : descriptor_(::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, mode)) {
    check(descriptor_ >= 0);
}

file::~file() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
}

void file::lock(access wanted) const {
    int result = -1;
    do
        result = flock(descriptor_, wanted == access::shared ? LOCK_SH : LOCK_EX);
    while (result != 0 && errno == EINTR);
    check(result == 0);
}

struct stat file::status() const {
    struct stat result {};
    check(fstat(descriptor_, &result) == 0);
    return result;
}

std::string file::read() const {
    if (S_ISDIR(status().st_mode))
        throw io_error(EISDIR);
    if (!S_ISREG(status().st_mode))
        throw io_error(EINVAL);
    std::string text;
    std::array<char, 65536> block{};
    ssize_t count = 0;
    while ((count = ::pread(descriptor_, block.data(), block.size(), static_cast<off_t>(text.size()))) != 0) {
        if (count > 0)
            text.append(block.data(), static_cast<size_t>(count));
        else
            check(errno == EINTR);
    }
    return text;
}

void file::write(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor_, text.data(), text.size());
        if (count >= 0)
            text.remove_prefix(static_cast<size_t>(count));
        else
            check(errno == EINTR);
    }
}

void file::truncate(size_t length) const { check(ftruncate(descriptor_, static_cast<off_t>(length)) == 0); }

void file::set_mode(mode_t mode) const { check(fchmod(descriptor_, mode) == 0); }

void file::sync() const { check(fsync(descriptor_) == 0); }

void file::close() { check(::close(std::exchange(descriptor_, -1)) == 0); }

std::string identity_of(const file &opened) {
    const struct stat found = opened.status();
    return std::to_string(found.st_dev) + ":" + std::to_string(found.st_ino) + ":" +
           std::to_string(found.st_mtim.tv_sec) + "." + std::to_string(found.st_mtim.tv_nsec);
}

namespace {

namespace fs = std::filesystem;

// Temporary files of a process that was killed; the caller's lock says that nobody else is at work on this
// file.
void remove_leftovers(const fs::path &folder, const std::string &prefix) {
    std::error_code ignored;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder, ignored))
        if (entry.path().filename().string().starts_with(prefix))
            fs::remove(entry.path(), ignored);
}

file create_temporary(std::string &path_template) {
    const int descriptor = mkostemp(path_template.data(), O_CLOEXEC);
    check(descriptor >= 0);
    return file(descriptor);
}

} // namespace

replacement::replacement(const std::string &path, std::string_view text) : target_(path) {
    std::error_code missing;
    if (const fs::path real = fs::canonical(path, missing); !missing)
        target_ = real;
    const fs::path folder = fs::path(target_).parent_path();
    const std::string prefix = "." + fs::path(path).filename().string() + ".uci-";
    remove_leftovers(folder, prefix);

    std::string name = folder / (prefix + "XXXXXX");
    file next = create_temporary(name);
    temporary_ = name;
    try {
        next.write(text);
        if (struct stat old{}; ::stat(target_.c_str(), &old) == 0)
            next.set_mode(old.st_mode & 07777);
        next.sync();
        identity_ = identity_of(next);
        next.close();
    } catch (...) {
        ::unlink(temporary_.c_str());
        throw;
    }
}

replacement::~replacement() {
    if (!temporary_.empty())
        ::unlink(temporary_.c_str());
}

void replacement::put_in_place() {
    check(::rename(temporary_.c_str(), target_.c_str()) == 0);
    temporary_.clear();
}

void replacement::confirm() const { file(fs::path(target_).parent_path(), O_RDONLY | O_DIRECTORY).sync(); }

} // namespace uci
