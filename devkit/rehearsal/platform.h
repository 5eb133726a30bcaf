// SPDX-License-Identifier: Apache-2.0
// What the recording platform checks around a call. The platform functions themselves are declared by the
// plug-in's platform headers and by the C library; the program that uses the stage exports them.
#pragma once

#include <stdbool.h>

struct json_object;
struct zuci2_context;

// Whether a call runs: only then do the C library's functions act on the world.
bool platform_is_on(void);

// Begins a call with these objects.
void platform_begin_call(struct json_object *request, struct json_object *response);

// Ends it: reports what it left open, and closes that.
void platform_end_call(void);

// The parts of platform_end_call.
void platform_end_contexts(void);
void platform_end_streams(void);

// Frees the context that the stage itself opened for a call; reports when the plug-in has freed it.
void platform_free_own_context(struct zuci2_context *ctx);
