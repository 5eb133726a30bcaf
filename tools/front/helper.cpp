// SPDX-License-Identifier: Apache-2.0
// The programs aerolink-WORD, which are commands of the front door as if they were part of it.
#include "tools/front/helper.h"

#include "tools/front/places.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <fstream>

#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::string_view prefix = "aerolink-";
constexpr int lines_to_search = 5;

// Beside the program, as in a build folder, and where an installation keeps them.
std::array<fs::path, 2> helper_folders() {
    const fs::path folder = own_program().parent_path();
    const fs::path from_bin = fs::path(AEROLINK_HELPER_DIR).lexically_relative(AEROLINK_BINDIR);
    return {folder, (folder / from_bin).lexically_normal()};
}

// A word never leads out of the folder.
bool is_word(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](unsigned char c) {
        return (std::islower(c) != 0) || (std::isdigit(c) != 0) || c == '-';
    });
}

bool is_program(const fs::path &path) { return access(path.c_str(), X_OK) == 0 && !fs::is_directory(path); }

// Of a script: a program that is none says nothing in its first lines.
std::string summary_of(const fs::path &program, const std::string &word) {
    const std::string heading = "aerolink " + word + ": ";
    std::ifstream file(program);
    std::string line;
    for (int count = 0; count < lines_to_search && std::getline(file, line); ++count)
        if (const size_t at = line.find(heading); at != std::string::npos) {
            const std::string summary = line.substr(at + heading.size());
            return summary.substr(0, summary.find('.'));
        }
    return "";
}

} // namespace

std::map<std::string, std::string> helper_summaries() {
    std::map<std::string, std::string> summaries;
    for (const fs::path &folder : helper_folders()) {
        std::error_code failure;
        for (const fs::directory_entry &entry : fs::directory_iterator(folder, failure)) {
            const std::string name = entry.path().filename();
            const std::string word = name.substr(std::min(prefix.size(), name.size()));
            if (name.starts_with(prefix) && is_word(word) && is_program(entry.path()))
                summaries.emplace(word, summary_of(entry.path(), word));
        }
    }
    return summaries;
}

void become_helper(char **words) {
    if (!is_word(words[0]))
        return;
    setenv("AEROLINK", own_program().c_str(), 1);
    for (const fs::path &folder : helper_folders())
        execv((folder / (std::string(prefix) + words[0])).c_str(), words);
}
