// SPDX-License-Identifier: Apache-2.0
// "/whiteboard/get_config": settings, branding and the companion plug-in's part in one response.
#include "batch/read.h"
#include "platform/host.h"
#include "plugin/log.h"

int batch_get_wbf(json_object *in, json_object *out) {
    read_settings(&family::get_config, in, out, nullptr);
    get_customer_files(in, out);
    custom_api_dispatcher("/xwf/batch_get", in, out);
    log_json("output", out);
    return AEROLINK_OK;
}
