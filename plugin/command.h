// SPDX-License-Identifier: Apache-2.0
// Shell commands whose end the plug-in waits for.
#pragma once

#include <cstddef>
#include <span>

// What the platform writes at most into a buffer whose size it is not told, the NUL included.
inline constexpr size_t platform_text_size = 4096;

// system(3), whose result may be ignored: most callers go on whatever became of the command.
int run(const char *command);

// First output line of the command line, "" when there is none; a longer line is cut to the size of out.
void read_command_line(const char *command, std::span<char> out);
void read_uci_line(const char *command, std::span<char> out);
