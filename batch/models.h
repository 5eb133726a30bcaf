// SPDX-License-Identifier: Apache-2.0
// Models that something other than their family singles out.
#pragma once

#include "batch/names.h"

inline constexpr name_list any_model = {};
inline constexpr const char *mt76x8_models[] = {"plover-v2", "plover", "linnet", "pipit"};
inline constexpr const char *plovers[] = {"plover-v2", "plover"};
inline constexpr const char *falcon[] = {"falcon"};
inline constexpr const char *osprey[] = {"osprey"};
