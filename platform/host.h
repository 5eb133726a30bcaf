// SPDX-License-Identifier: Apache-2.0
// What the API daemon that loads the plug-in offers to it. Declarations only.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

struct json_object;

// Runs the route `path` of any loaded plug-in with these two objects and returns its result; -1 and an
// untouched response when no plug-in has it.
int custom_api_dispatcher(const char *path, struct json_object *request, struct json_object *response);

#ifdef __cplusplus
}
#endif
