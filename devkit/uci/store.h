// SPDX-License-Identifier: Apache-2.0
// Configuration files and their deltas on the disk, safe for any number of processes at once: one step each.
#pragma once

#include "devkit/uci/delta.h"
#include "devkit/uci/folders.h"
#include "devkit/uci/package.h"
#include "devkit/uci/path.h"
#include "devkit/uci/stamp.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace uci {

// A package as it was read, and what its files were just before.
struct kept_package {
    package content;
    std::optional<file_stamp> config = {}; // nothing: the package will be read anew in any case
    std::optional<file_stamp> delta = {};
};

// Every function throws uci::error; nothing was changed then. Only when a disk does not confirm a file that
// is in place already (io_error) is the change made, and may not outlive a power cut.
class store {
public:
    explicit store(folders where) : folders_(checked(std::move(where))) {}

    // The names of all packages, sorted.
    std::vector<std::string> packages() const { return package_names(folders_); }

    // The package with all recorded changes.
    package load(const std::string &name) const;

    // Makes `kept` what load gives now, and reads nothing while the package's files are as they were.
    void refresh(const std::string &name, kept_package &kept) const;

    // The changes that the next commit makes durable.
    std::vector<change> recorded(const std::string &name) const;

    // Records a change; the section may be a selector. Nothing is written for what is so already. Setting the
    // empty value removes.
    void record(action kind, const path &where) const;

    // Records a new anonymous section; its name.
    std::string add(const std::string &name, const std::string &type) const;

    // Forgets the recorded changes to the package, section or option.
    void revert(const path &where) const;

    // Makes the recorded changes durable.
    void commit(const std::string &name) const;

    // Replaces the file of the package, which need not exist; recorded changes stay.
    void replace(const package &with) const;

private:
    folders folders_;
};

} // namespace uci
