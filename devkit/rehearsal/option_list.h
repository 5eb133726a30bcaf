// SPDX-License-Identifier: Apache-2.0
// A configuration that is a plain list of paths and values, exactly as they are written: selectors such as
// "@wifi-iface[0]" are text like any other, every set succeeds, commits change nothing. "package.NAME" with
// value TYPE is a section and counts for its type.
#pragma once

#include "devkit/rehearsal/world.h"

#ifdef __cplusplus
extern "C" {
#endif

struct option_list;

struct option_list *option_list_new(void); // empty
void option_list_free(struct option_list *list);
void option_list_clear(struct option_list *list); // empty again, and without a mark

// The list as the configuration of a world; it must outlive that.
struct stage_uci option_list_uci(struct option_list *list);

void option_list_put(struct option_list *list, const char *path, const char *value);
bool option_list_remove(struct option_list *list, const char *path);     // with a section goes what is in it
const char *option_list_get(struct option_list *list, const char *path); // null when missing

// By order of insertion; valid until the list is changed.
struct option_list_entry {
    const char *path;
    const char *value;
};
size_t option_list_length(const struct option_list *list);
struct option_list_entry option_list_at(const struct option_list *list, size_t index);

#ifdef __cplusplus
}
#endif
