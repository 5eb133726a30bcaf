// The models that share a table or a rule.
#pragma once

#include "batch/names.h"

inline constexpr name_list any_model = {};
inline constexpr const char *ardea_models[] = {"heron", "egret", "crane", "stork", "falcon"};
inline constexpr const char *mt76x8_models[] = {"plover-v2", "plover", "linnet", "pipit"};
inline constexpr const char *mt7615_models[] = {"wren"};
inline constexpr const char *finch_models[] = {"finch"};
inline constexpr const char *falcon[] = {"falcon"};
inline constexpr const char *osprey[] = {"osprey"};
