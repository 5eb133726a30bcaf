// SPDX-License-Identifier: Apache-2.0
// Several steps on packages under one lock, whose changes are written together.
#pragma once

#include "devkit/uci/folders.h"
#include "devkit/uci/session.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace uci {

// Every step sees what the ones before it did; other processes see nothing of it before the end or a commit.
// A package is a name in the folders or, with a "/", a file, whose changes have no delta. The folders of such
// a file are locked alone: a step in another folder ends what was begun so far.
//
// Every function throws uci::error; the step has changed nothing then, the ones before it stand. Only when a
// disk does not confirm a file that is in place already (io_error) is the change made, and may not outlive a
// power cut.
class transaction {
public:
    // With shared access the steps may only read.
    transaction(folders where, file::access access, tolerance tolerant = {});

    // The package with all changes; valid until the next step.
    package &read(const std::string &name);

    // The changes in all folders that the next commit makes durable, in order.
    std::vector<change> recorded(const std::string &name);

    // Records a change; the section may be a selector. Nothing is written for what is so already. Setting the
    // empty value removes.
    void record(action kind, const path &where);

    // Records a new anonymous section; its name.
    std::string add(const std::string &name, const std::string &type);

    // Records everything that the text says.
    void merge(const std::string &name, std::string_view text);

    // Forgets the recorded changes to the package, section or option.
    void revert(const path &where);

    // Makes the recorded changes durable.
    void commit(const std::string &name);

    // Replaces the file of the package, which need not exist; recorded changes stay.
    void replace(const std::string &name, const package &with);

    // Writes what was recorded and gives the locks back. All changes to a package are written or, when that
    // fails, none of them. Without it nothing is written.
    void end();

    // Whether any write of recorded changes has failed so far.
    bool has_lost_changes() const { return has_lost_changes_; }

private:
    session &open(const std::string &name);
    void close_ended(const std::string &name);
    void enter(const folders &place, bool needs_delta);

    folders folders_;
    file::access access_;
    tolerance tolerant_;
    std::optional<folders> place_ = {}; // that is locked
    folder_locks locks_ = {};
    std::map<std::string, session> sessions_ = {};
    bool has_lost_changes_ = false;
};

} // namespace uci
