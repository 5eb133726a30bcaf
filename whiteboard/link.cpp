// The cloud link as provisioning sets it.
#include "whiteboard/link.h"

#include "plugin/uci.h"

void enable_link(zuci2_context *ctx) {
    set_option(ctx, "zuconfig.cloud", "service");
    set_option(ctx, "zuconfig.cloud.enable", "1");
    set_option(ctx, "zuconfig.cloud.check_status", "1");
}
