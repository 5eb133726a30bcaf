// SPDX-License-Identifier: Apache-2.0
// "/cloud/aerolink/batch_set": applies a cloud push end to end.
#include "batch/families.h"
#include "batch/reboot.h"
#include "platform/zuutil.h"
#include "plugin/log.h"
#include "plugin/uci.h"

int aerolink_batch_set(json_object *in, json_object *out) {
    {
        const uci_scope uci;
        const char *model = get_model_name();
        log_json("input", in);
        batch_set_common(in, out);
        apply(*cell_of(&family::batch_set, model, uci.ctx), in, out, uci.ctx, model);
    }
    commit_all();
    if (batch_status == 0) // since this request or an earlier one (decision 16)
        reboot_with_backup();
    else
        fork_exec2("ubus call mqtt notify");
    return AEROLINK_OK;
}
