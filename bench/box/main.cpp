// SPDX-License-Identifier: Apache-2.0
// Measures the plug-in inside a router; prints samples, which bench/performance makes sense of.
#include "bench/box/http.h"
#include "bench/box/push.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string_view>
#include <vector>

namespace {

constexpr char usage[] = "usage: bench_box push ROUNDS CONTENDER... <REQUESTS, a JSON object a line\n"
                         "       bench_box patterns ROUNDS <REQUESTS\n"
                         "       bench_box read ROUNDS\n"
                         "       bench_box http ROUNDS PORT REQUESTS PATH...\n";

int measure(const std::vector<std::string> &words) {
    const std::string what = words.empty() ? "" : words[0];
    const int rounds = words.size() < 2 ? 0 : std::atoi(words[1].c_str());
    if (what == "push" && words.size() > 2) {
        for (std::string line; std::getline(std::cin, line);)
            measure_push(rounds, {words.begin() + 2, words.end()}, line);
    } else if (what == "patterns" && words.size() == 2) {
        for (std::string line; std::getline(std::cin, line);)
            measure_patterns(rounds, line);
    } else if (what == "read" && words.size() == 2) {
        measure_read(rounds);
    } else if (what == "http" && words.size() > 4) {
        measure_http(std::atoi(words[2].c_str()), rounds, std::atoi(words[3].c_str()),
                     {words.begin() + 4, words.end()});
    } else {
        std::fputs(usage, stderr);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char **argv) {
    try {
        return measure({argv + 1, argv + argc});
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
