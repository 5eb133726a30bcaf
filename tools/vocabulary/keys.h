// SPDX-License-Identifier: Apache-2.0
// What the keys of requests mean: all that nobody can find out by rehearsing a request.
#pragma once

#include <span>
#include <string_view>

namespace vocabulary {

// Where a form shows a key; to_text gives the heading.
enum class group { radio_2g, radio_5g, guests, wan, lan, system, probe, branding, cloud, reading };

// What a request holds under a key, and how `example` and `other` stand for it.
enum class kind {
    text,    // a JSON string; the columns are its text
    boolean, // the columns are JSON
    any,     // any JSON value, only its presence counts; the columns are JSON
    keys,    // an array of keys; the columns are JSON
};

enum class secrecy { open, secret };

struct key {
    const char *name;
    const char *title;
    const char *unit; // of the value, such as "s"; "" for none
    vocabulary::group group;
    vocabulary::kind kind;
    vocabulary::secrecy secrecy;
    const char *example;     // acceptable on every model that has the key
    const char *other;       // likewise, and another value
    const char *description; // one sentence
    const char *words = "";  // of a closed set all, otherwise common ones, separated by "|"; "" for none
};

// Every key of a batch table and of a route's request, once, in the order in which forms and documents show
// them.
std::span<const key> keys();

// The row of a name; null for a name that no request has.
const key *find_key(std::string_view name);

const char *to_text(group of_key);
const char *to_text(kind of_value);

} // namespace vocabulary
