// SPDX-License-Identifier: Apache-2.0
// The daemon's command line.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace apid {

struct options {
    std::string listen = "127.0.0.1:8080"; // numeric address and port, as listener.h reads them
    std::optional<int> listen_fd;          // an inherited listening socket; replaces `listen`
    std::string token_file;                // empty: no token
    std::string trace_file;                // empty: no record
    std::vector<std::string> plugins;
    std::chrono::seconds timeout{30};
    bool help = false;
};

// Throws startup_error (exit_usage) for a command line that cannot be understood.
options parse_options(int argc, char **argv);

extern const char *const usage;

} // namespace apid
