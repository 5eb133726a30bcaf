// SPDX-License-Identifier: Apache-2.0
// Says in Perl's dialect what a pattern of the plug-in's means, from the rules of its dialect alone.
#pragma once

#include <string>
#include <string_view>

namespace fuzz {

enum class meaning {
    defined,   // the rules say what it matches
    invalid,   // the rules say that it cannot be used
    undefined, // the rules leave it open, or the C library is known to differ
};

struct translation {
    meaning kind;
    std::string pattern; // for PCRE2 with MULTILINE and ALT_CIRCUMFLEX, "\n" the only line end; when defined
    const char *reason;  // when not defined
};

// A pattern has no NUL.
translation translate(std::string_view pattern);

// Whether the C library may be given the pattern at all: it copies what a repetition repeats and remembers
// every path through what refers back, which takes all memory or time there is for some patterns.
bool is_affordable(std::string_view pattern);

} // namespace fuzz
