// SPDX-License-Identifier: Apache-2.0
// A plug-in that needs a function which nobody has.
#include "plugin/aerolink.h"

#include <stddef.h>

uint32_t nobody_has_this(void);

struct api_entity *get_api_entity(uint32_t *count) {
    *count = nobody_has_this();
    return NULL;
}
