// "/whiteboard/set_config": provisions a reseller's device from one request.
#include "batch/families.h"
#include "batch/models.h"
#include "batch/reboot.h"
#include "platform/host.h"
#include "platform/zuutil.h"
#include "plugin/command.h"
#include "whiteboard/appliers.h"
#include "whiteboard/restart.h"

#include <json-c/json.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr char companion_config[] = "/etc/config/xwf";
constexpr int companion_attempts = 35; // one second apart

constexpr const char *ardea_models_provisioned[] = {"heron", "egret"};

// clang-format off
constexpr family named_families[] = {
    // models                  table              radios  zero  applier
    {ardea_models_provisioned, batch_list_ardea,  2,      {},   batch_set_heron_wbf},
    {mt76x8_models,            batch_list_mt76x8, 1,      {},   batch_set_mt_wbf},
};
// clang-format on

constexpr family_list provisioned_families = {
    .named = named_families,
    .one_radio = {{}, batch_list_wbf1, 1, {}, nullptr},
    .two_radios = {{}, batch_list_wbf, 2, {}, nullptr},
};

void apply(json_object *in, json_object *out, zuci2_context *ctx, const char *model) {
    const family &device = family_of(provisioned_families, model, ctx);
    if (device.apply)
        device.apply(in, out);
    else
        apply_rows(device.radios > 1 ? provisioning_two_radios : provisioning_one_radio, in, out, ctx, model);
}

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
    const char *model = get_model_name();
    {
        const uci_scope uci;
        syslog(LOG_INFO, "input=%s\n", json_object_to_json_string_ext(in, JSON_C_TO_STRING_PLAIN));
        set_customer_files(in, out);
        batch_set_common(in, out);
        apply(in, out, uci.ctx, model);
    }
    commit_all();
    if (xwf_enable_flag != 0)
        forward_to_companion(in, out);
    run("rm /tmp/dhcp.leases");
    restart_network(model);
    if (!has_companion())
        fork_exec2("reload_config");
    if (batch_status == 0)
        reboot_with_backup();
    return 0;
}
