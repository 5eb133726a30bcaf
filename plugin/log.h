// SPDX-License-Identifier: Apache-2.0
// Lines of the system log that more than one folder writes.
#pragma once

#include <syslog.h>

struct json_object;

// Logs a request or a response as "NAME=JSON". A hardened build puts "***" in place of every secret in it.
void log_json(const char *name, json_object *object);

// Says that a value was refused because it is longer than what it is meant for.
inline void log_too_long(const char *key) { syslog(LOG_INFO, "value too long, key = %s\n", key); }

// Says that a hardened build refused a value that a shell would not take as it stands.
inline void log_refused(const char *key) { syslog(LOG_INFO, "value refused, key = %s\n", key); }
