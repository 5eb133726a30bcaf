// SPDX-License-Identifier: Apache-2.0
// The commands that the front door has in itself.
#pragma once

#include <span>
#include <string>

// The program's exit statuses; others come from programs that it runs.
enum exit_status {
    exit_fine = 0,
    exit_wrong = 1,   // wrong use, or input that cannot be read
    exit_finding = 3, // `check` has found something
};

struct command {
    const char *word;
    const char *summary;                 // one line, without a full stop
    int (*run)(int count, char **words); // words as main has them, the first one being the command's word
};

std::span<const command> own_commands();

// Null when there is none of this word.
const command *find_command(const std::string &word);
