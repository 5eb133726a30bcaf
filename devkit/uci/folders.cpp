// SPDX-License-Identifier: Apache-2.0
// Where packages and their deltas lie, and the locks on these folders.
#include "devkit/uci/folders.h"

#include "devkit/uci/error.h"
#include "devkit/uci/path.h"
#include "devkit/uci/text.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <tuple>

#include <fcntl.h>

namespace uci {

namespace {

namespace fs = std::filesystem;

bool is_same_folder(const std::string &one, const std::string &other) {
    std::error_code missing;
    return one == other || fs::equivalent(one, other, missing);
}

// Packages in a folder; false when it is not there.
bool collect_names(const std::string &folder, std::set<std::string> &out) {
    std::error_code failure;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder, failure)) {
        std::error_code gone;
        if (const std::string name = entry.path().filename();
            is_package_name(name) && entry.is_regular_file(gone))
            out.insert(name);
    }
    if (failure && failure != std::errc::no_such_file_or_directory)
        throw io_error(failure.value());
    return !failure;
}

std::optional<file> open_folder_if_there(const std::string &path) {
    try {
        return file(path, O_RDONLY | O_DIRECTORY);
    } catch (const not_found &) {
        return std::nullopt;
    }
}

struct wanted_lock {
    dev_t device;
    ino_t inode;
    file folder;
    file::access access;
};

void add_delta(const std::string &path, file::access wanted, std::vector<wanted_lock> &out) {
    if (std::optional<file> folder = open_folder_if_there(path)) {
        const struct stat found = folder->status();
        out.push_back({found.st_dev, found.st_ino, std::move(*folder), wanted});
    }
}

} // namespace

folders checked(folders where) {
    // One folder cannot be both: it would be locked twice, and a delta written into the file itself.
    if (is_same_folder(where.config, where.delta) ||
        (!where.overriding.empty() && is_same_folder(where.overriding, where.delta)))
        throw invalid_argument();
    if (is_same_folder(where.config, where.overriding))
        where.overriding.clear();
    std::vector<std::string> search;
    for (const std::string &each : where.search)
        if (!is_same_folder(each, where.delta) && std::ranges::none_of(search, [&](const std::string &other) {
                return is_same_folder(each, other);
            }))
            search.push_back(each);
    where.search = std::move(search);
    return where;
}

folders place_of(const folders &where, const std::string &package) {
    if (!is_file(package))
        return where;
    std::string folder = package.substr(0, package.size() - package_name(package).size());
    if (folder.size() > 1)
        folder.pop_back();
    const bool is_own = package.starts_with('/') || package.starts_with("./");
    return {is_own ? folder : where.config + "/" + folder, "", {}, ""};
}

std::vector<std::string> package_names(const folders &where) {
    std::set<std::string> names;
    if (!collect_names(where.config, names))
        throw not_found();
    if (!where.overriding.empty())
        collect_names(where.overriding, names);
    return {names.begin(), names.end()};
}

std::string file_of(const folders &where, const std::string &package) {
    std::error_code missing;
    if (std::string own = where.overriding + "/" + package;
        !where.overriding.empty() && fs::exists(own, missing))
        return own;
    return where.config + "/" + package;
}

file lock_folder(const std::string &path, file::access wanted) {
    file folder(path, O_RDONLY | O_DIRECTORY);
    folder.lock(wanted);
    return folder;
}

std::optional<file> lock_folder_if_there(const std::string &path, file::access wanted) {
    std::optional<file> folder = open_folder_if_there(path);
    if (folder)
        folder->lock(wanted);
    return folder;
}

folder_locks lock_folders(const folders &where, file::access wanted) {
    folder_locks result;
    result.held.push_back(lock_folder(where.config, wanted));
    if (!where.overriding.empty())
        if (std::optional<file> overriding = lock_folder_if_there(where.overriding, wanted))
            result.held.push_back(std::move(*overriding));
    if (where.delta.empty())
        return result;
    std::vector<wanted_lock> deltas;
    add_delta(where.delta, wanted, deltas);
    result.has_delta = !deltas.empty();
    for (const std::string &each : where.search)
        add_delta(each, file::access::shared, deltas);
    std::ranges::sort(deltas, {}, [](const wanted_lock &each) { return std::tie(each.device, each.inode); });
    for (wanted_lock &each : deltas) {
        each.folder.lock(each.access);
        result.held.push_back(std::move(each.folder));
    }
    return result;
}

} // namespace uci
