// The models that share a table of settings.
#pragma once

inline constexpr const char *ardea_models[] = {"heron", "egret", "crane", "stork", "falcon"};
inline constexpr const char *mt76x8_models[] = {"plover-v2", "plover", "linnet", "pipit"};
inline constexpr const char *mt7615_models[] = {"wren"};
inline constexpr const char *finch_models[] = {"finch"};
