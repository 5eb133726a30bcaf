// The cloud account that the router is bound to.
#pragma once

#include "plugin/uci.h"

inline void forget_account(zuci2_context *ctx) {
    delete_option(ctx, "zuconfig.cloud.username");
    delete_option(ctx, "zuconfig.cloud.email");
    delete_option(ctx, "zuconfig.cloud.bindtime");
}
