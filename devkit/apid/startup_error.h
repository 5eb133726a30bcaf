// SPDX-License-Identifier: Apache-2.0
// What ends the daemon before it serves: a message for the user and an exit status.
#pragma once

#include <stdexcept>
#include <string>

namespace apid {

constexpr int exit_failed = 1; // the world is not as the command line says
constexpr int exit_usage = 2;  // the command line itself is refused

struct startup_error : std::runtime_error {
    startup_error(int status, const std::string &message)
        : std::runtime_error(message), exit_status(status) {}
    int exit_status;
};

} // namespace apid
