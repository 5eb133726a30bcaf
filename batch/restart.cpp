// SPDX-License-Identifier: Apache-2.0
// How a network comes up with a new configuration.
#include "batch/restart.h"

#include "platform/zuutil.h"
#include "plugin/command.h"
#include "plugin/text.h"

namespace {

bool repeater_is_set_up() {
    char enabled[10];
    read_uci_line("uci get repacd.repacd.Enable", enabled);
    return equal(enabled, "1");
}

} // namespace

void restart_network() { fork_exec2("sleep 1; /etc/init.d/network restart; /etc/init.d/zu_tertf restart"); }

void restart_network_and_phys() {
    if (repeater_is_set_up()) {
        fork_exec2("/usr/sbin/heron_misc_func.sh cap_ip_change_trigger");
        fork_exec2("sleep 2; /etc/init.d/network restart; /etc/init.d/zu_tertf restart");
    } else {
        restart_network();
    }
    fork_exec2("sleep 2; ssdk_sh debug phy set 2 0 0x840; ssdk_sh debug phy set 3 0 0x840; "
               "ssdk_sh debug phy set 4 0 0x840");
    fork_exec2("sleep 4; ssdk_sh debug phy set 2 0 0x1240; ssdk_sh debug phy set 3 0 0x1240; "
               "ssdk_sh debug phy set 4 0 0x1240");
}

void reset_switch() {
    fork_exec2(
        "sleep 2;swconfig dev switch0 set reset;swconfig dev switch0 set apply;/etc/init.d/network restart");
}
