// SPDX-License-Identifier: Apache-2.0
// The options of the command `uci`.
#pragma once

#include "devkit/uci/folders.h"

#include <string>
#include <vector>

namespace uci {

constexpr int exit_usage = 255;

extern const char *const usage_text;

struct settings {
    folders where;
    std::string delimiter = " ";
    std::string input; // file; empty: standard input
    bool name_anonymous = false;
    bool quiet = false;
    bool selectors = true;
    bool merge = false;
    bool strict = true;
    bool commits = true;
};

// The command line is not one that this program knows.
struct usage_error {};

// What cannot be done, in words of its own.
struct command_error {
    std::string text;
};

// Reads the options; `operands` begins at the first word that is none. Throws usage_error, command_error.
settings parse_options(int count, char **words, std::vector<std::string> &operands);

} // namespace uci
