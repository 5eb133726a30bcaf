// SPDX-License-Identifier: Apache-2.0
// Decides whether the router reaches the internet by pinging a short list of addresses.
#include "platform/zuutil.h"
#include "plugin/aerolink.h"
#include "plugin/command.h"
#include "plugin/text.h"
#include "plugin/uci.h"

#include <cstring>

namespace {

constexpr char multi_wan_file[] = "/etc/config/mwan3";
constexpr char fallback_addresses[] = "8.8.4.4 8.8.8.8 208.67.222.222 208.67.220.220";

constexpr size_t address_list_size = 128;
constexpr size_t command_size = 128;

// Pings each address of the list until one answers; count and timeout go into the command as they are.
// The redirection "&>" needs the router's shell: another one starts the ping in the background, then prints
// 0, and an address that nobody answers at counts as reached.
bool any_answers(char (&addresses)[address_list_size], const char *count, const char *timeout) {
    char *rest = nullptr;
    for (const char *address = strtok_r(addresses, " ", &rest); address;
         address = strtok_r(nullptr, " ", &rest)) {
        char command[command_size];
        if (!format(command, "ping -c %s -W %s -s 56 -q %s &> /dev/null ; echo $?", count, timeout, address))
            continue;
        char status[8];
        read_command_line(command, status);
        if (equal(status, "0"))
            return true;
    }
    return false;
}

} // namespace

int cmm_net_reachable2(void) {
    char addresses[address_list_size];
    if (!cmm_check_file_is_exist(multi_wan_file)) {
        copy_cut(addresses, fallback_addresses);
        return any_answers(addresses, "1", "2");
    }
    // The fallback is for routers without multi-WAN only: an empty track list means unreachable.
    const uci_scope uci;
    char count[8];
    char timeout[8];
    read_command_line("uci get mwan3.wan.track_ip", addresses);
    read_option(uci.ctx, "mwan3.wan.count", count);
    read_option(uci.ctx, "mwan3.wan.timeout", timeout);
    return any_answers(addresses, count, timeout);
}
