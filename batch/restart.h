// SPDX-License-Identifier: Apache-2.0
// How a network comes up with a new configuration: each starts its commands detached and in order.
#pragma once

void restart_network();

// The PHYs of the switch ports go down and then negotiate anew: wired clients see the link drop, and renew.
void restart_network_and_phys();

void reset_switch();
