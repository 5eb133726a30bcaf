// The cloud link as provisioning sets it.
#pragma once

struct zuci2_context;

// Switches the link and its status check on; the section is made when it is missing.
void enable_link(zuci2_context *ctx);
