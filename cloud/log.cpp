// SPDX-License-Identifier: Apache-2.0
// The cloud client's lines of the system log, and how much it logs.
#include "cloud/zones.h"
#include "platform/zuutil.h"
#include "plugin/aerolink.h"
#include "plugin/command.h"
#include "plugin/uci.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <json-c/json.h>

namespace {

// The message behind the time of day and the tag.
constexpr char log_command[] = "logread|grep zu_mqtt_service|cut -d \":\" -n -f4,5,6,7";

// One string a line; an empty line adds nothing.
void add_log_lines(json_object *lines) {
    FILE *log = popen(log_command, "r");
    if (!log)
        return;
    char *line = nullptr;
    size_t capacity = 0;
    while (getline(&line, &capacity, log) > 0) {
        line[strcspn(line, "\n")] = '\0';
        if (line[0] != '\0')
            zjson_array_add_string(lines, line);
    }
    free(line);
    pclose(log);
}

} // namespace

int aerolink_log(json_object *, json_object *out) {
    const uci_scope uci;
    char host[64];
    read_option(uci.ctx, "zuconfig.cloud.serverzone", host);
    const server_zone *zone = zone_of_host(host);
    zjson_add_string(out, "serverzone", zone ? zone->log_name : host);
    json_object *lines = json_object_new_array();
    add_log_lines(lines);
    zjson_add_object(out, "log", lines);
    return AEROLINK_OK;
}

int aerolink_log_level_set(json_object *in, json_object *) {
    run(zjson_get_boolean(in, "cloud_log_level") ? "ubus call mqtt debug '{\"level\":7}'"
                                                 : "ubus call mqtt debug '{\"level\":6}'");
    return AEROLINK_OK;
}
