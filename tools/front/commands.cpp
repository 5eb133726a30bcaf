// SPDX-License-Identifier: Apache-2.0
// The commands that the front door has in itself.
#include "tools/front/commands.h"

#include "tools/plan/command.h"
#include "tools/vocabulary/describe.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array<command, 5> commands{{
    {"plan", "says what a request would do", run_plan},
    {"check", "says which keys of a request have no effect", run_check},
    {"export", "prints the request that gives a device its settings back", run_export},
    {"describe", "prints routes, tables and the meanings of keys for programs", run_describe},
    {"snapshot", "prints a device as plan takes it", run_snapshot},
}};

} // namespace

std::span<const command> own_commands() { return commands; }

const command *find_command(const std::string &word) {
    const std::span<const command> known = own_commands();
    const auto found = std::ranges::find(known, word, &command::word);
    return found == known.end() ? nullptr : &*found;
}
