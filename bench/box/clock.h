// SPDX-License-Identifier: Apache-2.0
// Seconds by the wall's clock, and of the processor.
#pragma once

#include <ctime>

#include <sys/resource.h>

inline double wall_seconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// What this thread has used: nothing that another one or another process does is in it.
inline double thread_seconds() {
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

// What this process has used, and the children that it has waited for.
inline double processor_seconds() {
    double seconds = 0;
    for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage used{};
        getrusage(who, &used);
        for (const timeval &part : {used.ru_utime, used.ru_stime})
            seconds += static_cast<double>(part.tv_sec) + static_cast<double>(part.tv_usec) / 1e6;
    }
    return seconds;
}
