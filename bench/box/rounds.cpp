// SPDX-License-Identifier: Apache-2.0
// Contenders, measured in turn.
#include "bench/box/rounds.h"

#include "bench/box/clock.h"

#include <cstdio>

void measure_in_turn(const std::string &name, int rounds, const std::vector<contender> &contenders,
                     const std::function<void()> &prepare) {
    for (int round = 0; round <= rounds; ++round) {
        for (size_t turn = 0; turn < contenders.size(); ++turn) {
            const contender &next = contenders[(static_cast<size_t>(round) + turn) % contenders.size()];
            prepare();
            const double processor = processor_seconds();
            const double wall = wall_seconds();
            next.work();
            const double taken = wall_seconds() - wall;
            const double used = processor_seconds() - processor;
            if (round > 0)
                std::printf("sample %s %s %.9f %.9f\n", name.c_str(), next.name.c_str(), taken, used);
        }
    }
}
