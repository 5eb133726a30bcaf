// SPDX-License-Identifier: Apache-2.0
// "/whiteboard/set_config": provisions a reseller's device from one request.
#include "batch/families.h"
#include "batch/reboot.h"
#include "platform/host.h"
#include "platform/zuutil.h"
#include "plugin/command.h"
#include "plugin/log.h"

#include <unistd.h>

namespace {

constexpr char companion_config[] = "/etc/config/xwf";
constexpr int companion_attempts = 35; // one second apart

bool has_companion() { return access(companion_config, F_OK) == 0; }

// The companion's configuration appears some time after its fix-up was started; without it nothing is
// forwarded.
void forward_to_companion(json_object *in, json_object *out) {
    for (int attempt = 0; attempt < companion_attempts; ++attempt) {
        if (has_companion()) {
            custom_api_dispatcher("/xwf/batch_set", in, out);
            return;
        }
        sleep(1);
    }
}

} // namespace

int batch_set_wbf(json_object *in, json_object *out) {
    void (*restart)() = nullptr;
    {
        const uci_scope uci;
        const char *model = get_model_name();
        log_json("input", in);
        set_customer_files(in, out);
        batch_set_common(in, out);
        apply(*cell_of(&family::set_config, model, uci.ctx), in, out, uci.ctx, model);
        restart = cell_of(&family::restart, model, uci.ctx);
    }
    commit_all();
    if (xwf_enable_flag != 0)
        forward_to_companion(in, out);
    run("rm /tmp/dhcp.leases");
    restart();
    if (!has_companion())
        fork_exec2("reload_config");
    if (batch_status == 0)
        reboot_with_backup();
    return AEROLINK_OK;
}
