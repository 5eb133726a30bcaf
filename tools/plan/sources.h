// SPDX-License-Identifier: Apache-2.0
// The kinds of sources that a snapshot is read from; snapshot.h has what chooses between them. All throw
// input_error.
#pragma once

#include "tools/plan/snapshot.h"

#include <string>
#include <string_view>

namespace plan {

snapshot from_folder(const std::string &path, const std::string &model);

// A backup as `sysupgrade -b` writes it: the whole content of a compressed archive. Nothing of it reaches a
// disk.
snapshot from_backup(std::string_view archive, const std::string &model);

// The text of `uci export`.
snapshot from_export(std::string_view text, const std::string &model);

} // namespace plan
