// SPDX-License-Identifier: Apache-2.0
// What a piece of work asks of the platform and of the shell: recorded, and made again without whoever asked.
//
// The program that links this exports the platform's functions and those of the C library that start
// commands, so that the plug-in's calls pass through it. Flushing the file systems does nothing here,
// recorded or not: it would measure every disk of the machine.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace calls {

enum class kind { read, write, command, other };

struct call {
    kind of;
    std::string text;            // of a write: the UCI path; of a command: its line
    std::string value;           // of a write
    std::function<void()> again; // makes the call
};

// The calls of the work, in their order; what they cause inside the platform is part of them. What reads the
// output of a command as it comes cannot be made again, and ends the program.
std::vector<call> recorded(const std::function<void()> &work);

// Seconds of a processor that went into the compilation and use of patterns since the last look, and how many
// there were.
struct pattern_cost {
    double compiled = 0;
    double used = 0;
    int count = 0;
};
pattern_cost take_pattern_cost();

// How patterns are compiled: as the plug-in asks for it; with what is needed to tell where groups matched; or
// once, and kept from then on.
enum class compilation { as_asked, with_groups, once };
void compile_patterns(compilation how);

} // namespace calls
