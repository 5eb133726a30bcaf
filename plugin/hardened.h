// SPDX-License-Identifier: Apache-2.0
// What a hardened build refuses. The contract lets a request's values reach the shell as they are; a maker
// who prefers safety to its letter builds with AEROLINK_HARDENED.
#pragma once

#ifdef AEROLINK_HARDENED
inline constexpr bool is_hardened = true;
#else
inline constexpr bool is_hardened = false;
#endif

// Whether a command line may hold the text as it stands: the shell takes it for one word that means itself,
// and no program takes it for an option.
bool is_plain_word(const char *text);

// True when this build keeps the value out of a command line.
inline bool refuses(const char *value) { return is_hardened && !is_plain_word(value); }
