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

void show_command(FILE *out, const std::string &word, const std::string &summary) {
    std::fprintf(out, "  %-12s  %s\n", word.c_str(), summary.c_str());
}

void show_usage(FILE *out) {
    std::fputs("usage: aerolink COMMAND [ARGUMENT]...\n"
               "\n"
               "What the plug-in would do, asked without a router. Commands:\n"
               "\n",
               out);
    for (const command &each : own_commands())
        show_command(out, each.word, each.summary);
    for (const auto &[word, summary] : helper_summaries())
        show_command(out, word, summary.empty() ? "(see aerolink " + word + " --help)" : summary);
    show_command(out, "help", "prints this text, or with the name of a command what it takes");
    std::fputs("\n"
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
