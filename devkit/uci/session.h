// SPDX-License-Identifier: Apache-2.0
// One package in memory between reading its files and writing them.
#pragma once

#include "devkit/uci/delta_file.h"
#include "devkit/uci/folders.h"
#include "devkit/uci/format.h"
#include "devkit/uci/package.h"

#include <optional>
#include <string>
#include <vector>

namespace uci {

// Its owner holds the locks on the folders. Everything throws uci::error; nothing was changed then.
class session {
public:
    session(const folders &where, const std::string &name, const tolerance &tolerant);

    package content;              // with all changes
    std::vector<change> found;    // changes in other folders
    std::vector<change> recorded; // and in one's own, not yet committed

    // Makes a change in memory and remembers it for write. Nothing when the package was like that already.
    void record(action kind, const path &where);
    void record_all(const std::vector<change> &changes);

    // Appends what was recorded in memory to the delta, in one piece.
    void write();

    // Makes all changes durable. The session has ended then, also when only the disk does not confirm it.
    void commit();

    // Leaves these of the recorded changes. The session has ended then.
    void keep(const std::vector<change> &kept);

    bool has_ended() const { return has_ended_; }

private:
    void expect_recordable() const;
    void remember(const change &made);
    void write_file();

    std::string file_;
    mode_t mode_ = 0;                 // of the file
    std::optional<delta_file> delta_; // nothing: changes go to the file at once
    std::string unwritten_;           // lines
    bool has_ended_ = false;
};

// Of a package whose file is about to be replaced: forgets the changes that the old file held already.
void settle(const folders &where, const std::string &name);

} // namespace uci
