// SPDX-License-Identifier: Apache-2.0
// The file of a plug-in that is asked.
#pragma once

#include <string>

namespace plan {

// Loads it for the stage, once in a process. Throws input_error, with the file and what is wrong with it, for
// what is no plug-in, or one whose tables are others than those that this program was built with.
void load_plugin(const std::string &file);

} // namespace plan
