// SPDX-License-Identifier: Apache-2.0
// Where an installation, or a build folder, keeps what the front door needs.
#pragma once

#include <filesystem>
#include <string>

// The program itself, links followed.
std::filesystem::path own_program();

// The plug-in, and the companion plug-in of the kit.
std::string installed_plugin();
std::string installed_companion();
