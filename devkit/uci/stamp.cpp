// SPDX-License-Identifier: Apache-2.0
// Whether a file is still the one that was read.
#include "devkit/uci/stamp.h"

#include "devkit/uci/error.h"

#include <cerrno>
#include <ctime>

namespace uci {

namespace {

constexpr long long second = 1'000'000'000;

// Twice the longest step there is, and more: 10 ms of a clock that ticks a hundred times a second, or the two
// seconds of a file system that keeps whole ones.
constexpr long long fine_step = 50'000'000;
constexpr long long coarse_step = 4 * second;

long long nanoseconds(const timespec &time) { return time.tv_sec * second + time.tv_nsec; }

} // namespace

bool file_stamp::is_settled() const {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const long long step = changed % second == 0 ? coarse_step : fine_step;
    return nanoseconds(now) - changed > step;
}

std::optional<file_stamp> stamp_of(const std::string &path) {
    struct stat found {};
    if (stat(path.c_str(), &found) == 0)
        return file_stamp{found.st_dev, found.st_ino, found.st_size, nanoseconds(found.st_mtim),
                          nanoseconds(found.st_ctim)};
    if (errno == ENOENT)
        return std::nullopt;
    throw io_error(errno);
}

} // namespace uci
