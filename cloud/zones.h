// SPDX-License-Identifier: Apache-2.0
// The server zones, by the names that users and the cloud know them by.
#pragma once

#include <span>

struct server_zone {
    const char *host;     // as stored
    const char *name;     // as chosen and shown
    const char *log_name; // as the log view shows it
    const char *home;     // an account is kept when the old host is empty or this one
};

// The zones that the user is offered.
extern const std::span<const server_zone> offered_zones;

// The zone of a stored host or of a chosen name; null when there is none.
const server_zone *zone_of_host(const char *host);
const server_zone *zone_of_name(const char *name);
