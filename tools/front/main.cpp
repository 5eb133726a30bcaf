// SPDX-License-Identifier: Apache-2.0
// aerolink: the front door to what can be asked of the plug-in at a desk.
#include "tools/front/commands.h"
#include "tools/front/helper.h"

#include <cstdio>
#include <string>

namespace {

int show_version() {
    std::puts("aerolink " AEROLINK_VERSION);
    return exit_fine;
}

void show_usage(FILE *out) {
    std::fputs("usage: aerolink COMMAND [ARGUMENT]...\n"
               "\n"
               "What the plug-in would do, asked without a router. Commands:\n"
               "\n",
               out);
    for (const command &each : own_commands())
        std::fprintf(out, "  %-9s %s\n", each.word, each.summary);
    for (const std::string &word : helper_words())
        std::fprintf(out, "  %-9s (see aerolink %s --help)\n", word.c_str(), word.c_str());
    std::fputs("  help      this text, or with the name of a command what it takes\n"
               "\n"
               "For any other WORD the program aerolink-WORD is run.\n",
               out);
}

int run_word(int count, char **words) {
    if (const command *known = find_command(words[0]))
        return known->run(count, words);
    become_helper(words);
    std::fprintf(stderr, "aerolink: there is no command %s (see aerolink help)\n", words[0]);
    return exit_wrong;
}

int show_help(int count, char **words) {
    if (count < 2) {
        show_usage(stdout);
        return exit_fine;
    }
    char option[] = "--help";
    char *asked[] = {words[1], option, nullptr};
    return run_word(2, asked);
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        show_usage(stderr);
        return exit_wrong;
    }
    const std::string word = argv[1];
    if (word == "--version")
        return show_version();
    if (word == "help" || word == "--help" || word == "-h")
        return show_help(argc - 1, argv + 1);
    return run_word(argc - 1, argv + 1);
}
