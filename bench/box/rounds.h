// SPDX-License-Identifier: Apache-2.0
// Contenders, measured in turn so that each meets the same weather.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct contender {
    std::string name;
    std::function<void()> work;
};

// Prints a line "sample CASE CONTENDER WALL_SECONDS PROCESSOR_SECONDS" for each piece of work. Every round
// has each contender once, beginning with another one than the round before; `prepare` comes before each,
// unmeasured. A first round that warms the machine up is not printed.
void measure_in_turn(const std::string &name, int rounds, const std::vector<contender> &contenders,
                     const std::function<void()> &prepare);
