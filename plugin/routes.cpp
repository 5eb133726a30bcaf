// SPDX-License-Identifier: Apache-2.0
// The route table, and the integers that handlers share from one request to the next.
#include "plugin/aerolink.h"

#include <span>

int batch_status = 1;
int xwf_enable_flag = 0;
int falcon_2g_5g_swap_done = 0;

namespace {

// clang-format off
api_entity routes[] = {
    // path                             method  handler
    {"/cloud/aerolink/get",             "get",  aerolink_ctrl_get},
    {"/cloud/aerolink/set",             "post", aerolink_ctrl_set},
    {"/cloud/aerolink/unbind",          "post", aerolink_unbind},
    {"/cloud/aerolink/log",             "get",  aerolink_log},
    {"/router/bind_info",               "post", aerolink_bind_info},
    {"/cloud/aerolink/log_level",       "post", aerolink_log_level_set},
    {"/cloud/aerolink/batch_set",       "post", aerolink_batch_set},
    {"/cloud/aerolink/batch_get",       "get",  aerolink_batch_get},
    {"/whiteboard/set_config",          "post", batch_set_wbf},
    {"/whiteboard/get_config",          "get",  batch_get_wbf},
    {"/whiteboard/designated_customer", "post", designated_customer},
};
// clang-format on
static_assert(std::size(routes) == 11);

} // namespace

api_entity *get_api_entity(uint32_t *count) {
    *count = std::size(routes);
    return routes;
}
