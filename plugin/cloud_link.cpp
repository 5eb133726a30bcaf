// SPDX-License-Identifier: Apache-2.0
// What several folders do to the cloud link.
#include "plugin/cloud_link.h"

#include "plugin/uci.h"

void enable_cloud_link(zuci2_context *ctx) {
    set_option(ctx, "zuconfig.cloud", "service");
    set_option(ctx, "zuconfig.cloud.enable", "1");
    set_option(ctx, "zuconfig.cloud.check_status", "1");
}

void forget_account(zuci2_context *ctx) {
    delete_option(ctx, "zuconfig.cloud.username");
    delete_option(ctx, "zuconfig.cloud.email");
    delete_option(ctx, "zuconfig.cloud.bindtime");
}
