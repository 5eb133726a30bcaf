// SPDX-License-Identifier: Apache-2.0
// The delta file of one package: changes that wait for their commit.
#pragma once

#include "devkit/uci/delta.h"

#include <string>
#include <vector>

#include <sys/types.h>

namespace uci {

// Its owner holds the locks on the folders. Everything throws io_error; the changes are as they were then.
class delta_file {
public:
    // Reads it, if it is there. `config` is the package's file, whose identity is `identity` now.
    delta_file(const std::string &path, const std::string &package, const std::string &config,
               const std::string &identity);

    // The changes that are not in the package's file yet.
    const std::vector<change> &changes() const { return changes_; }

    // Whether a killed commit has left changes that are in the package's file already.
    bool has_committed() const { return has_committed_; }

    bool is_empty() const { return size_ == 0; }

    // All of the lines or none of them. A new file gets the mode.
    void append(const std::string &lines, mode_t mode);

    // Puts these lines in place of everything.
    void rewrite(const std::string &lines);

    // Says that the file of this identity, which is about to be put in place, holds all changes. That is
    // known as long as they are not emptied, and however full the disk is.
    void mark_committed(const std::string &identity);

    void empty();

private:
    void append_text(const std::string &text, mode_t mode);
    void forget_mark_beside();
    std::string mark_for(const std::string &identity) const;

    std::string path_;
    std::string mark_path_; // beside the package's file, when there is no room for a mark in the delta
    std::vector<change> changes_;
    bool has_committed_ = false;
    bool is_marked_beside_ = false;
    size_t size_ = 0;  // of the file
    size_t whole_ = 0; // what of it is not torn off
};

} // namespace uci
