// SPDX-License-Identifier: Apache-2.0
// "/whiteboard/designated_customer": points the cloud link and the telemetry at a customer's own servers.
#include "platform/zuutil.h"
#include "plugin/aerolink.h"
#include "plugin/cloud_link.h"
#include "plugin/customer_file.h"
#include "plugin/server_zone.h"
#include "plugin/text.h"
#include "plugin/uci.h"

#include <unistd.h>

namespace {

// Only a router that stands in the Asia Pacific zone is moved and unbound; any other keeps zone and account
// (decision 18).
void move_to_customer(zuci2_context *ctx, const char *old_host, const char *server_name) {
    if (!equal(old_host, host_asia_pacific))
        return;
    forget_account(ctx);
    set_option(ctx, "zuconfig.cloud.serverzone", server_name);
}

void configure(json_object *in) {
    const uci_scope uci;
    char old_host[128];
    read_option(uci.ctx, "zuconfig.cloud.serverzone", old_host);
    enable_cloud_link(uci.ctx);
    move_to_customer(uci.ctx, old_host, zjson_get_string(in, "server_name"));
    commit_package(uci.ctx, "zuconfig");
    set_option(uci.ctx, "zubigdata.bigdata.server_url", zjson_get_string(in, "server_url"));
    commit_package(uci.ctx, "zubigdata");
}

} // namespace

int designated_customer(json_object *in, json_object *out) {
    if (!zjson_contain_key(in, "server_name") || !zjson_contain_key(in, "server_url")) {
        zjson_add_string(out, "msg", "missing parameters");
        return AEROLINK_MISSING;
    }
    configure(in);
    sync();
    fork_exec2("/etc/init.d/zu_mqtt stop");
    fork_exec2("/etc/init.d/zu_mqtt start");
    fork_exec2("/etc/init.d/zu_mqtt enable");
    fork_exec2(declare_fw_type_1);
    return AEROLINK_OK;
}
