// SPDX-License-Identifier: Apache-2.0
// The command `uci`.
#include "devkit/uci/command/command_line.h"

#include <cstdio>

int main(int count, char **words) {
    try {
        uci::arguments operands;
        uci::settings given = uci::parse_options(count, words, operands);
        return uci::command_line(std::move(given)).run(operands);
    } catch (const uci::usage_error &) {
        std::fputs(uci::usage_text, stderr);
        return uci::exit_usage;
    } catch (const uci::command_error &failure) {
        std::fprintf(stderr, "uci: %s\n", failure.text.c_str());
        return 1;
    }
}
