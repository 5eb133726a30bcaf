// SPDX-License-Identifier: Apache-2.0
// Snapshots from folders: a device's file system, or the state folder of a router in a box, which may be
// running.
#include "tools/plan/open_file.h"
#include "tools/plan/snapshot.h"
#include "tools/plan/sources.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>

namespace plan {

namespace {

constexpr size_t files_limit = 512; // of one folder
constexpr std::array folders{"etc/config", "etc/device", "etc/wbf", "tmp", "tmp/.uci", "tmp/tertf"};

void take(const descriptor &root, const std::string &path, const std::string &stored_as, file_map &out) {
    if (!is_of_use(stored_as))
        return;
    const descriptor file = open_below(root, path, O_RDONLY);
    struct stat status {};
    if (!file)
        throw input_error(path + ": " +
                          (errno == EXDEV ? "it leads out of the folder" : std::strerror(errno)));
    if (fstat(file.number(), &status) != 0 || S_ISDIR(status.st_mode))
        return;
    if (!S_ISREG(status.st_mode))
        throw input_error(path + " is no plain file");
    std::optional<std::string> text = read_all(file, file_limit);
    if (!text)
        throw input_error(path + ": larger than " + std::to_string(file_limit) + " bytes");
    out[stored_as] = std::move(*text);
}

// prefix: where the root stands in the device's file system, "" or "tmp/".
void take_folder(const descriptor &root, const std::string &folder, const std::string &prefix,
                 file_map &out) {
    descriptor opened = open_below(root, folder, O_RDONLY | O_DIRECTORY);
    if (!opened)
        return;
    const std::vector<std::string> names = names_in(std::move(opened));
    if (names.size() > files_limit)
        throw input_error(folder + ": more than " + std::to_string(files_limit) + " files");
    const std::string start = folder == "." ? "" : folder + "/";
    for (const std::string &name : names) {
        const std::string path = start + name;
        take(root, path, prefix + path, out);
    }
}

bool is_number(const std::string &text) {
    return std::ranges::all_of(text, [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool is_same(const struct stat &one, const struct stat &other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// A running box keeps its "/tmp" to itself: it is found by way of a process that has the box's control
// folder.
descriptor running_tmp(const descriptor &root) {
    const descriptor control = open_below(root, "run/control", O_RDONLY | O_DIRECTORY);
    struct stat own {};
    if (!control || fstat(control.number(), &own) != 0)
        return descriptor();
    for (const std::string &process :
         names_in(descriptor(open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC)))) {
        const std::string process_root = "/proc/" + process + "/root";
        struct stat theirs {};
        if (is_number(process) && stat((process_root + "/run/control").c_str(), &theirs) == 0 &&
            is_same(own, theirs))
            return descriptor(open((process_root + "/tmp").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    return descriptor();
}

} // namespace

snapshot from_folder(const std::string &path, const std::string &model) {
    const descriptor root(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root)
        throw input_error(std::strerror(errno));
    file_map files;
    for (const char *folder : folders)
        take_folder(root, folder, "", files);
    struct stat status {};
    if (fstatat(root.number(), "model", &status, AT_SYMLINK_NOFOLLOW) == 0)
        take(root, "model", "model", files);
    if (const descriptor tmp = running_tmp(root))
        for (const char *folder : {".", ".uci", "tertf"})
            take_folder(tmp, folder, "tmp/", files);
    return from_files(files, model);
}

} // namespace plan
