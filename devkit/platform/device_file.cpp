// SPDX-License-Identifier: Apache-2.0
// Device facts as one-line files in one folder.
#include "devkit/platform/device_file.h"

#include <cstdlib>
#include <fstream>

std::optional<std::string> read_device_file(const char *name) {
    const char *folder = std::getenv("ZUUTIL_DEVICE_DIR");
    std::ifstream source(std::string(folder != nullptr ? folder : "/etc/device") + "/" + name);
    if (!source)
        return std::nullopt;
    std::string line;
    std::getline(source, line);
    return line;
}
