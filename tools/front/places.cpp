// SPDX-License-Identifier: Apache-2.0
// Where an installation, or a build folder, keeps what the front door needs.
#include "tools/front/places.h"

namespace fs = std::filesystem;

namespace {

// In a build folder the plug-ins are in the folder above the program's.
std::string plugin(const char *name) {
    const fs::path folder = own_program().parent_path();
    const fs::path built = folder.parent_path() / name;
    if (fs::exists(built))
        return built;
    return (folder / fs::path(AEROLINK_PLUGIN_DIR).lexically_relative(AEROLINK_BINDIR) / name)
        .lexically_normal();
}

} // namespace

fs::path own_program() {
    std::error_code failure;
    return fs::read_symlink("/proc/self/exe", failure);
}

std::string installed_plugin() { return plugin("aerolink.so"); }

std::string installed_companion() { return plugin("xwf.so"); }
