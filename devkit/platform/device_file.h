// SPDX-License-Identifier: Apache-2.0
// Device facts as one-line files in one folder, read anew each time so that they can be changed at run time.
#pragma once

#include <optional>
#include <string>

// The first line of the file in "/etc/device", or in the folder that ZUUTIL_DEVICE_DIR names; nothing when
// the file is missing.
std::optional<std::string> read_device_file(const char *name);
