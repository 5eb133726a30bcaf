// SPDX-License-Identifier: Apache-2.0
// "/cloud/aerolink/set": switches the cloud link and chooses its server zone.
#include "cloud/zones.h"
#include "platform/zuutil.h"
#include "plugin/aerolink.h"
#include "plugin/cloud_link.h"
#include "plugin/command.h"
#include "plugin/customer_file.h"
#include "plugin/log.h"
#include "plugin/text.h"
#include "plugin/uci.h"

#include <syslog.h>
#include <unistd.h>

namespace {

struct link_request {
    bool enable;
    bool check_status;
    const char *zone;
    const char *rtty_ssh;
    const char *rtty_web;
};

bool is_complete(json_object *in, const link_request &request) {
    return zjson_contain_key(in, "cloud_enable") && request.zone && request.rtty_ssh && request.rtty_web;
}

const char *flag(bool on) { return on ? "1" : "0"; }

void set_switches(zuci2_context *ctx, const link_request &request) {
    set_option(ctx, "zuconfig.cloud", "service");
    set_option(ctx, "zuconfig.cloud.enable", flag(request.enable));
    set_option(ctx, "zuconfig.cloud.check_status", flag(request.check_status));
    set_option(ctx, "rtty.general.ssh_en", request.rtty_ssh);
    set_option(ctx, "rtty.general.web_en", request.rtty_web);
}

// The daemon is only stopped here; whoever starts it reads its configuration.
void stop_rtty(const link_request &request) {
    if (request.rtty_ssh[0] != '0' || request.rtty_web[0] != '0')
        return;
    syslog(LOG_INFO, "kill running rtty...\n");
    run("killall -9 rtty 2>/dev/null");
}

// An account is bound to the cloud of its zone.
void move_to_zone(zuci2_context *ctx, const char *old_host, const server_zone &zone) {
    if (old_host[0] != '\0' && !equal(old_host, zone.home))
        forget_account(ctx);
    set_option(ctx, "zuconfig.cloud.serverzone", zone.host);
}

// Writes the request into UCI. False for a zone that nobody knows: the switches then stay set, but
// uncommitted (decision 19).
bool configure(const link_request &request) {
    const uci_scope uci;
    char old_host[128];
    read_option(uci.ctx, "zuconfig.cloud.serverzone", old_host);
    set_switches(uci.ctx, request);
    stop_rtty(request);
    const server_zone *zone = zone_of_name(request.zone);
    if (!zone)
        return false;
    move_to_zone(uci.ctx, old_host, *zone);
    commit_package(uci.ctx, "zuconfig");
    commit_package(uci.ctx, "rtty");
    return true;
}

void restart_client(bool enable) {
    run("/etc/init.d/zu_mqtt stop");
    if (enable) {
        run("/etc/init.d/zu_mqtt start");
        run("/etc/init.d/zu_mqtt enable");
    } else {
        run("/etc/init.d/zu_mqtt disable");
    }
}

} // namespace

int wbf_update_fw_type(void) {
    if (cmm_check_file_is_exist(customer_file)) {
        char type[8];
        read_customer_key("fw_type", type);
        if (equal(type, "2") || equal(type, "1"))
            return 0;
    }
    return run(declare_fw_type_1);
}

int aerolink_ctrl_set(json_object *in, json_object *out) {
    log_json("set input", in);
    const link_request request = {
        .enable = zjson_get_boolean(in, "cloud_enable") != 0,
        .check_status = zjson_get_boolean(in, "check_status") != 0,
        .zone = zjson_get_string(in, "serverzone"),
        .rtty_ssh = zjson_get_string(in, "rtty_ssh"),
        .rtty_web = zjson_get_string(in, "rtty_web"),
    };
    if (!is_complete(in, request)) {
        zjson_add_string(out, "msg", "missing parameters");
        return AEROLINK_MISSING;
    }
    if (!configure(request))
        return AEROLINK_BAD_VALUE;
    sync();
    if (request.enable)
        wbf_update_fw_type();
    restart_client(request.enable);
    return AEROLINK_OK;
}
