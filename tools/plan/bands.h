// SPDX-License-Identifier: Apache-2.0
// Models whose keys change bands when the settings are read in full for the first time.
#pragma once

#include <string>

namespace plan {

struct snapshot;

// What is to be said where that matters, without a full stop. what: "this plan".
std::string bands_note(const std::string &what, const snapshot &device);

} // namespace plan
