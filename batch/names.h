// SPDX-License-Identifier: Apache-2.0
// Lists of names: of models, or of keys.
#pragma once

#include "plugin/text.h"

#include <span>

using name_list = std::span<const char *const>;

// Compares letter for letter.
inline bool lists(const name_list &names, const char *name) {
    for (const char *candidate : names)
        if (equal(name, candidate))
            return true;
    return false;
}
