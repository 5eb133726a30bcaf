// SPDX-License-Identifier: Apache-2.0
// Reads the settings of a device in the vocabulary of the batch tables.
#pragma once

#include "batch/families.h"

// Adds the common settings and those of the model's cell in a column to out: all of them, or those that the
// array "name" of the request lists, of which one reference is then released (decision 3). `before_table`
// runs in a full read between the common settings and the model's; it may be null.
void read_settings(const readable *family::*column, json_object *in, json_object *out,
                   void (*before_table)(const char *model));
