// SPDX-License-Identifier: Apache-2.0
// The WAN settings and the reboot flag, which come first in every batch.
#include "batch/rows.h"

#include "plugin/command.h"
#include "plugin/hardened.h"
#include "plugin/log.h"
#include "plugin/text.h"

namespace {

constexpr size_t reboot_flag_limit = 100; // characters

// The flag goes to a file and into batch_status, never into UCI. By contract it enters the command as
// it is, and a quote or "$(...)" in it is the shell's: who may send a batch may run commands, unless the
// build is hardened (decision 10).
bool set_reboot_flag(const row_step &step) {
    char command[128];
    if (refuses(step.row->value) || strlen(step.row->value) > reboot_flag_limit ||
        !format(command, "echo \"%s\" >/tmp/reboot_flag", step.row->value))
        return false;
    run(command);
    batch_status = equal(step.row->value, "1") ? 0 : 1;
    return true;
}

// A flag that is refused asks for no reboot.
void refuse(const row_step &step) {
    const bool is_flag = equal(step.row->json_key, "reboot_flag");
    if (is_flag)
        batch_status = 1;
    if (is_flag && refuses(step.row->value))
        log_refused(step.row->json_key);
    else
        log_refusal(step);
}

// clang-format off
constexpr key_rule always[] = {
    {"wan_proto",    write_row},
    {"wan_username", write_row},
    {"wan_password", write_row},
    {"wan_ipaddr",   write_row},
    {"wan_gateway",  write_row},
    {"wan_netmask",  write_row},
    {"wan_dns",      write_row},
    {"reboot_flag",  set_reboot_flag},
};
// clang-format on

constexpr rule_set common = {.table = batch_list_common,
                             .own_context = true,
                             .bandwidth = {},
                             .always = {always, {}},
                             .first_time = {},
                             .checked = nullptr,
                             .stored = {},
                             .otherwise = nullptr,
                             .written_anyway = {},
                             .refuse = refuse};

} // namespace

int batch_set_common(json_object *in, json_object *out) { return apply(common, in, out); }
