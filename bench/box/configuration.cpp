// SPDX-License-Identifier: Apache-2.0
// The router's configuration.
#include "bench/box/configuration.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

const fs::path folder = "/etc/config";
constexpr useconds_t settling_time = 60'000;

} // namespace

configuration read_configuration() {
    configuration texts;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder)) {
        std::ifstream file(entry.path());
        texts[entry.path().filename()].assign(std::istreambuf_iterator<char>(file), {});
    }
    return texts;
}

void put_back(const configuration &wanted) {
    fs::remove_all("/tmp/.uci");
    const configuration found = read_configuration();
    for (const auto &[name, text] : wanted)
        if (const auto at = found.find(name); at == found.end() || at->second != text)
            std::ofstream(folder / name) << text;
    usleep(settling_time);
}
