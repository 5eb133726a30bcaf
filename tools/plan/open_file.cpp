// SPDX-License-Identifier: Apache-2.0
// Files that are read and never trusted.
#include "tools/plan/open_file.h"

#include "tools/plan/snapshot.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace plan {

descriptor::~descriptor() {
    if (number_ >= 0)
        close(number_);
}

descriptor open_below(const descriptor &folder, const std::string &path, int flags) {
    open_how how{};
    how.flags = static_cast<uint64_t>(flags) | O_CLOEXEC | O_NONBLOCK;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    const long opened = syscall(SYS_openat2, folder.number(), path.c_str(), &how, sizeof how);
    if (opened >= 0 || errno != ENOSYS)
        return descriptor(static_cast<int>(opened));
    // Where the kernel cannot keep a path below a folder, no link is followed: those that this program asks
    // for have plain folders in them.
    return descriptor(openat(folder.number(), path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
}

std::optional<std::string> read_all(const descriptor &file, size_t limit) {
    std::string text;
    std::array<char, 65536> block{};
    for (;;) {
        const ssize_t length = read(file.number(), block.data(), block.size());
        if (length < 0 && errno == EINTR)
            continue;
        if (length < 0)
            throw input_error(std::strerror(errno));
        if (length == 0)
            return text;
        text.append(block.data(), static_cast<size_t>(length));
        if (text.size() > limit)
            return std::nullopt;
    }
}

std::vector<std::string> names_in(descriptor folder) {
    std::vector<std::string> names;
    DIR *entries = fdopendir(dup(folder.number()));
    if (entries == nullptr)
        return names;
    while (const dirent *entry = readdir(entries))
        names.emplace_back(entry->d_name);
    closedir(entries);
    std::ranges::sort(names);
    return names;
}

} // namespace plan
