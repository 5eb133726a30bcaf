// "/cloud/aerolink/batch_set": applies a cloud push end to end.
#include "batch/families.h"
#include "batch/reboot.h"
#include "platform/zuutil.h"
#include "plugin/uci.h"

#include <json-c/json.h>
#include <syslog.h>

int aerolink_batch_set(json_object *in, json_object *out) {
    {
        const uci_scope uci;
        const char *model = get_model_name();
        syslog(LOG_INFO, "input=%s\n", json_object_to_json_string_ext(in, JSON_C_TO_STRING_PLAIN));
        batch_set_common(in, out);
        apply(*cell_of(&family::batch_set, model, uci.ctx), in, out, uci.ctx, model);
    }
    commit_all();
    if (batch_status == 0)
        reboot_with_backup();
    else
        fork_exec2("ubus call mqtt notify");
    return AEROLINK_OK;
}
