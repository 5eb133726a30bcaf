// Lines of the system log that more than one folder writes.
#pragma once

#include <syslog.h>

// Says that a value was refused because it is longer than what it is meant for.
inline void log_too_long(const char *key) { syslog(LOG_INFO, "value too long, key = %s\n", key); }
