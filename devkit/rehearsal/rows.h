// SPDX-License-Identifier: Apache-2.0
// The loaded plug-in's tables and integers: which row a walk is at, and putting both back.
#pragma once

#include <stddef.h>

// Finds the exported tables and integers in the loaded plug-in. Null, or the name of one that is missing.
const char *rows_find(void *plugin);

// The key of the row whose value is set; null when there is none.
const char *rows_current_key(void);

// A value slot may be set after this: the plug-in has been given a member's text.
void rows_may_change(void);

// Reports values that were left in the tables.
void rows_check_values(void);

// Keep the state as it is now, bring it back, and bring back the state that the plug-in was loaded with.
void rows_mark(void);
void rows_put_back(void);
void rows_reset(void);
