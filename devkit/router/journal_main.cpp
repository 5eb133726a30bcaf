// SPDX-License-Identifier: Apache-2.0
// `journal PROGRAM ARGUMENT...` notes one call in the router's journal. Under any other name it notes its own
// call: firmware programs that only have to be seen are links to it.
#include "devkit/router/journal.h"

#include <cstdio>
#include <string>

int main(int argc, char **argv) {
    const std::span<char *const> words(argv, static_cast<size_t>(argc));
    std::string program = words[0];
    program.erase(0, program.rfind('/') + 1);
    std::span<char *const> arguments = words.subspan(1);
    if (program == "journal") {
        if (arguments.empty()) {
            fputs("usage: journal PROGRAM [ARGUMENT...]\n", stderr);
            return 2;
        }
        program = arguments[0];
        arguments = arguments.subspan(1);
    }
    if (journal_append(program, arguments))
        return 0;
    perror("journal");
    return 1;
}
