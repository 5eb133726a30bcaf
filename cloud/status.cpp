// SPDX-License-Identifier: Apache-2.0
// "/cloud/aerolink/get": the state of the cloud link.
#include "cloud/zones.h"
#include "platform/zuutil.h"
#include "plugin/aerolink.h"
#include "plugin/log.h"
#include "plugin/text.h"
#include "plugin/uci.h"

#include <json-c/json.h>

namespace {

void add_flag(json_object *out, zuci2_context *ctx, const char *member, const char *path) {
    char value[8];
    read_option(ctx, path, value);
    zjson_add_boolean(out, member, equal(value, "1"));
}

template <size_t N>
void add_text(json_object *out, zuci2_context *ctx, const char *member, const char *path) {
    char value[N];
    read_option(ctx, path, value);
    zjson_add_string(out, member, value);
}

} // namespace

int aerolink_ctrl_get(json_object *, json_object *out) {
    {
        const uci_scope uci;
        const char *ddns_name = get_ddns_name();

        add_flag(out, uci.ctx, "cloud_enable", "zuconfig.cloud.enable");
        add_flag(out, uci.ctx, "check_status", "zuconfig.cloud.check_status");
        add_flag(out, uci.ctx, "rtty_ssh", "rtty.general.ssh_en");
        add_flag(out, uci.ctx, "rtty_web", "rtty.general.web_en");

        char host[128];
        read_option(uci.ctx, "zuconfig.cloud.serverzone", host);
        const server_zone *zone = zone_of_host(host);
        zjson_add_string(out, "serverzone", zone ? zone->name : host);
        json_object *names = json_object_new_array();
        for (const server_zone &offered : offered_zones)
            zjson_array_add_string(names, offered.name);
        zjson_add_object(out, "serverzones", names);

        zjson_add_string(out, "name", ddns_name ? ddns_name : "");
        add_text<32>(out, uci.ctx, "username", "zuconfig.cloud.username");
        add_text<64>(out, uci.ctx, "email", "zuconfig.cloud.email");
        add_text<128>(out, uci.ctx, "bindtime", "zuconfig.cloud.bindtime");
    }
    log_json("output", out);
    return AEROLINK_OK;
}
