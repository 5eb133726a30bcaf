// SPDX-License-Identifier: Apache-2.0
// The customer file of white-label builds.
#include "plugin/customer_file.h"

#include "plugin/command.h"
#include "plugin/text.h"

void read_customer_key(const char *key, std::span<char> out) {
    out[0] = '\0';
    char command[256];
    if (format(command, "cat %s | grep -w %s 2>/dev/null | awk -F= '{print $2}'", customer_file, key))
        read_uci_line(command, out);
}
