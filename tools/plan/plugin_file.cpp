// SPDX-License-Identifier: Apache-2.0
// The file of a plug-in that is asked.
#include "tools/plan/plugin_file.h"

#include "devkit/rehearsal/stage.h"
#include "tools/plan/snapshot.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <link.h>
#include <optional>
#include <span>
#include <vector>

namespace plan {

namespace {

// The loader looks for a name without a folder elsewhere than in this one.
std::string path_of(const std::string &file) { return std::filesystem::absolute(file); }

// As the loader says it, but for the name of the file, with which it mostly begins.
std::string reason_of(const std::string &problem) {
    const size_t colon = problem.find(": ");
    return problem.starts_with('/') && colon != std::string::npos ? problem.substr(colon + 2) : problem;
}

// The loader dies of a file that ends before what its header announces, such as one that was not copied
// whole.
bool is_cut(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    ElfW(Ehdr) header{};
    if (!file.read(reinterpret_cast<char *>(&header), sizeof header) ||
        std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof(ElfW(Phdr)))
        return false; // the loader says what it is
    std::vector<ElfW(Phdr)> segments(header.e_phnum);
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    file.read(reinterpret_cast<char *>(segments.data()),
              static_cast<std::streamsize>(segments.size() * sizeof segments[0]));
    const uintmax_t size = std::filesystem::file_size(path);
    return !file || std::ranges::any_of(segments, [&](const ElfW(Phdr) & each) {
        return each.p_type == PT_LOAD && each.p_offset + each.p_filesz > size;
    });
}

// Clang's AddressSanitizer counts the guard behind a table as a part of it.
#if defined(__clang__) && defined(__has_feature)
constexpr bool is_guarded = __has_feature(address_sanitizer);
#else
constexpr bool is_guarded = false;
#endif

bool holds(size_t bytes, const stage_table &table) {
    const size_t known = table.row_count * sizeof(batch_entry);
    return is_guarded ? bytes >= known : bytes == known;
}

size_t bytes_of_symbol(const void *symbol) {
    Dl_info place{};
    void *entry = nullptr;
    if (dladdr1(symbol, &place, &entry, RTLD_DL_SYMENT) == 0 || entry == nullptr)
        return 0;
    return static_cast<const ElfW(Sym) *>(entry)->st_size;
}

// What the plug-in exports otherwise than this program knows it.
std::optional<std::string> difference() {
    if (stage_functions()->get_api_entity == nullptr || stage_functions()->regex_exe == nullptr)
        return "it does not export get_api_entity and regex_exe";
    size_t count = 0;
    const stage_table *tables = stage_tables(&count);
    for (const stage_table &table : std::span(tables, count))
        if (const size_t bytes = bytes_of_symbol(table.rows); !holds(bytes, table))
            return std::string(table.name) + " has " + std::to_string(bytes / sizeof(batch_entry)) +
                   " rows, not " + std::to_string(table.row_count) + ": it is of another version";
    return std::nullopt;
}

} // namespace

void load_plugin(const std::string &file) {
    if (file.empty())
        throw input_error("--plugin is empty");
    const auto refuse = [&](const std::string &why) {
        throw input_error(file + " cannot be used as the plug-in: " + why);
    };
    if (is_cut(path_of(file)))
        refuse("it is not whole");
    if (const char *problem = stage_load(path_of(file).c_str()))
        refuse(reason_of(problem));
    if (const std::optional<std::string> problem = difference())
        refuse(*problem);
}

} // namespace plan
