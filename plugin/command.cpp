// SPDX-License-Identifier: Apache-2.0
// Shell commands whose end the plug-in waits for.
#include "plugin/command.h"

#include "platform/zuutil.h"
#include "plugin/text.h"

#include <cstdlib>

int run(const char *command) { return system(command); }

void read_command_line(const char *command, std::span<char> out) {
    char scratch[platform_text_size] = "";
    getShellCommandReturnLine(command, scratch);
    copy_cut(out, scratch);
}

void read_uci_line(const char *command, std::span<char> out) {
    char scratch[platform_text_size] = "";
    getUciReturn(command, scratch);
    copy_cut(out, scratch);
}
