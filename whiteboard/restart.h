// How a model's network comes up with a new configuration.
#pragma once

// Starts the model's restart commands, detached and in order.
void restart_network(const char *model);
