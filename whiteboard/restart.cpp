// How a model's network comes up with a new configuration.
#include "whiteboard/restart.h"

#include "batch/models.h"
#include "platform/zuutil.h"
#include "plugin/command.h"
#include "plugin/text.h"

#include <cstring>
#include <span>
#include <unistd.h>

namespace {

bool repeater_is_set_up() {
    char enabled[10];
    read_uci_line("uci get repacd.repacd.Enable", enabled);
    return equal(enabled, "1");
}

bool has_usb_gadget() {
    char link[129] = "";
    return readlink("/sys/class/net/usb0", link, sizeof link - 1) > 0 && strstr(link, "udc");
}

constexpr const char *switch_models[] = {"lark", "swift", "robin", "dove", "teal",
                                         "gull", "kite",  "rook",  "ibis"};
constexpr const char *tertf_models[] = {"linnet", "plover-v2", "pipit", "finch"};
constexpr const char *phy_models[] = {"heron", "egret", "crane", "stork"};

constexpr char reset_switch[] =
    "sleep 2;swconfig dev switch0 set reset;swconfig dev switch0 set apply;/etc/init.d/network restart";
constexpr char restart_soon[] = "sleep 1; /etc/init.d/network restart; /etc/init.d/zu_tertf restart";
constexpr char restart_later[] = "sleep 2; /etc/init.d/network restart; /etc/init.d/zu_tertf restart";
constexpr char report_address_change[] = "/usr/sbin/heron_misc_func.sh cap_ip_change_trigger";
constexpr char reload_gadget[] = "sleep 1; rmmod g_ether.ko;sleep 1; insmod g_ether.ko;sleep 1";

// The PHYs of the switch ports go down and then negotiate anew: wired clients see the link drop, and renew.
constexpr char phys_down[] = "sleep 2; ssdk_sh debug phy set 2 0 0x840; ssdk_sh debug phy set 3 0 0x840; "
                             "ssdk_sh debug phy set 4 0 0x840";
constexpr char phys_up[] = "sleep 4; ssdk_sh debug phy set 2 0 0x1240; ssdk_sh debug phy set 3 0 0x1240; "
                           "ssdk_sh debug phy set 4 0 0x1240";

constexpr const char *switch_restart[] = {reset_switch};
constexpr const char *plain_restart[] = {restart_soon};
constexpr const char *repeater_restart[] = {report_address_change, restart_later, phys_down, phys_up};
constexpr const char *phy_restart[] = {restart_soon, phys_down, phys_up};
constexpr const char *gadget_restart[] = {reload_gadget, restart_soon};

struct restart_rule {
    name_list models;    // empty: any model
    bool (*condition)(); // null: none
    std::span<const char *const> commands;
};

// The first rule that holds applies. So the gadget of a finch is never reloaded; the order stays as it is.
// clang-format off
constexpr restart_rule rules[] = {
    // models       condition           commands
    {switch_models, nullptr,            switch_restart},
    {tertf_models,  nullptr,            plain_restart},
    {phy_models,    repeater_is_set_up, repeater_restart},
    {phy_models,    nullptr,            phy_restart},
    {finch_models,  has_usb_gadget,     gadget_restart},
    {any_model,     nullptr,            plain_restart},
};
// clang-format on

bool holds(const restart_rule &rule, const char *model) {
    return (rule.models.empty() || lists(rule.models, model)) && (!rule.condition || rule.condition());
}

} // namespace

void restart_network(const char *model) {
    for (const restart_rule &rule : rules) {
        if (!holds(rule, model))
            continue;
        for (const char *command : rule.commands)
            fork_exec2(command);
        return;
    }
}
