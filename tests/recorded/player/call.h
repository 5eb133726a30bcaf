// SPDX-License-Identifier: Apache-2.0
// Runs one call of a case against the plug-in and prints its outcome sections.
#pragma once

#include <stddef.h>

struct json_object;

// Loads the plug-in; ends the program when it cannot be loaded or lacks an exported object.
void call_load_plugin(const char *path);

// header: what stands behind "call " in the section's header. request: the call's JSON, owned by the caller
// and used up. Refuses an unknown function, an unknown route and wrong arguments.
void call_run(const char *header, struct json_object *request);
