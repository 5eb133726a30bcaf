// SPDX-License-Identifier: Apache-2.0
// What several folders do to the cloud link.
#pragma once

struct zuci2_context;

// Switches the link and its status check on; the section is made when it is missing.
void enable_cloud_link(zuci2_context *ctx);

// Forgets the cloud account that the router is bound to.
void forget_account(zuci2_context *ctx);
