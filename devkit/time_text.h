// SPDX-License-Identifier: Apache-2.0
// How the kit's records write the time, so that they can be read in one order: the journal, the log and the
// daemon's record.
#pragma once

#include <array>
#include <ctime>
#include <string>

#include <sys/time.h>

// UTC to the microsecond, "2026-01-31T12:00:00.123456Z": sorts as time does.
inline std::string time_text(const timeval &time) {
    tm utc{};
    gmtime_r(&time.tv_sec, &utc);
    std::array<char, sizeof "2026-01-31T12:00:00"> seconds{};
    strftime(seconds.data(), seconds.size(), "%FT%T", &utc);
    return std::string(seconds.data()) + '.' + std::to_string(1'000'000 + time.tv_usec).substr(1) + 'Z';
}

inline std::string time_text() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return time_text(now);
}
