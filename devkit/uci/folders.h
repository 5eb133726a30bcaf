// SPDX-License-Identifier: Apache-2.0
// Where packages and their deltas lie, and the locks on these folders.
//
// Whoever writes holds an exclusive lock on the configuration folder, which outlives the rename of a file in
// it, and one on the delta folder, which other configuration folders may share. Readers hold shared ones,
// so none sees a committed file without or with a second helping of its delta. All are taken before the first
// file is read: the configuration folder's, the overriding one's, then the deltas' in the order of their
// inodes, so that no two processes ever wait for each other.
#pragma once

#include "devkit/uci/file_io.h"

#include <optional>
#include <string>
#include <vector>

namespace uci {

struct folders {
    std::string config = "/etc/config";
    std::string delta = "/tmp/.uci";      // empty: changes go to the files at once
    std::vector<std::string> search = {}; // more deltas, applied before the one in `delta`, never written
    std::string overriding = {};          // a package that lies here too is read and written here

    bool operator==(const folders &) const = default;
};

// Throws invalid_argument for folders that cannot be used together, and leaves out what is there twice.
folders checked(folders where);

// The names of all packages, sorted.
std::vector<std::string> package_names(const folders &where);

// The folders in which a package lies: these, or the one of a package that is a file, which has no delta. A
// file that begins neither with "/" nor with "./" is below the configuration folder.
folders place_of(const folders &where, const std::string &package);

// The file of a package that has a name, which need not be there.
std::string file_of(const folders &where, const std::string &package);

file lock_folder(const std::string &path, file::access wanted);
std::optional<file> lock_folder_if_there(const std::string &path, file::access wanted);

struct folder_locks {
    std::vector<file> held = {};
    bool has_delta = false; // the delta folder is there
};
// Locks all folders that are there, those of other deltas for reading. Throws not_found without a
// configuration folder.
folder_locks lock_folders(const folders &where, file::access wanted);

} // namespace uci
