// SPDX-License-Identifier: Apache-2.0
// The reboot that a batch asks for.
#include "batch/reboot.h"

#include "platform/zuutil.h"
#include "plugin/command.h"

#include <unistd.h>

void reboot_with_backup() {
    if (access("/tmp/tertf/tertfinfo_bak", F_OK) == 0)
        run("cp /tmp/tertf/tertfinfo_bak /etc/tertf/tertfinfo_bak -rf");
    fork_exec2("sleep 1; reboot");
}
