// What the recording platform checks around a call. The platform functions themselves are declared by the
// plug-in's platform headers and by the C library; the player defines and exports them.
#pragma once

struct json_object;

// The objects that the running call was given.
void platform_begin_call(struct json_object *request, struct json_object *response);

// Report what the call left open, and close it.
void platform_end_contexts(void);
void platform_end_streams(void);

// Frees the context that the player itself opened for a call; reports when the plug-in has freed it.
struct zuci2_context;
void platform_free_own_context(struct zuci2_context *ctx);
