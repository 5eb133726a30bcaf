// SPDX-License-Identifier: Apache-2.0
// Binding the router to a cloud account, and asking the cloud to unbind it.
#include "platform/zuutil.h"
#include "plugin/aerolink.h"
#include "plugin/command.h"
#include "plugin/text.h"
#include "plugin/uci.h"

#include <json-c/json.h>
#include <unistd.h>

namespace {

// The cloud client publishes the message on its own time: nothing waits for it.
void publish(json_object *message) {
    char command[256];
    if (format(command, "ubus call mqtt pub '%s' > /dev/null &",
               json_object_to_json_string_ext(message, JSON_C_TO_STRING_PLAIN)))
        run(command);
}

} // namespace

int aerolink_bind_info(json_object *in, json_object *) {
    {
        const uci_scope uci;
        set_option(uci.ctx, "zuconfig.cloud.username", zjson_get_string(in, "username"));
        set_option(uci.ctx, "zuconfig.cloud.email", zjson_get_string(in, "email"));
        set_option(uci.ctx, "zuconfig.cloud.bindtime", zjson_get_string(in, "bindtime"));
        commit_package(uci.ctx, "zuconfig");
    }
    sync();
    return AEROLINK_OK;
}

// The account and the link's settings stay: only new bind information or another zone changes them.
int aerolink_unbind(json_object *in, json_object *out) {
    if (!zjson_contain_key(in, "unbind")) {
        zjson_add_string(out, "msg", "missing parameters");
        return AEROLINK_MISSING;
    }
    if (cmm_net_reachable2() == 0)
        return AEROLINK_UNREACHABLE;
    zjson_add_string(out, "api", "/router/unbind");
    zjson_add_int(out, "code", 0);
    publish(out);
    {
        const uci_scope uci;
        set_option(uci.ctx, "zubigdata.bigdata.enable", "0");
        commit_package(uci.ctx, "zubigdata");
    }
    run("/etc/init.d/zu_bigdata stop");
    return AEROLINK_OK;
}
