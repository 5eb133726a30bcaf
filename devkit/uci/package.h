// SPDX-License-Identifier: Apache-2.0
// A configuration package in memory.
#pragma once

#include "devkit/uci/section_index.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace uci {

struct option {
    std::string name;
    bool is_list;
    std::vector<std::string> values; // exactly one unless is_list; a list that lost its items has none
};

struct section {
    std::string name;
    std::string type;
    bool anonymous; // has a generated name, which files do not hold
    std::vector<option> options;

    // Null when there is no such option.
    option *find(std::string_view option_name);

    // The empty value removes the option. False when that changes nothing.
    bool set(std::string_view option_name, std::string_view value);

    // Appends to the list; a plain option becomes a list first.
    void add_to_list(std::string_view option_name, std::string_view value);

    // Removes every equal item; a list without items stays until it is written. False when there was none.
    bool remove_from_list(std::string_view option_name, std::string_view value);

    bool remove(std::string_view option_name);
};

struct package {
    std::string name;
    std::vector<section> sections; // their names and order change by the functions below only
    size_t created = 0;            // sections created since the first line, removed ones included
    section_index index = {};

    // By name, or by selector: "@type[n]", "@[n]" for any type, negative n from the end, "@type[]" for n = 0;
    // blanks and a plus sign before n are fine. Null when there is no such section.
    section *find(std::string_view name_or_selector);

    section &create(std::string_view section_name, std::string_view type, bool anonymous);
    void rename(section &renamed, const std::string &section_name);
    void remove(const section &removed);

    // Moves the section to that place, counted from 0. False when it is there already.
    bool move(const section &moved, size_t place);

    // The name of the anonymous section that would be created next: number of creation and hash of the type.
    std::string next_name(std::string_view type);

    size_t count(std::string_view type) const;
};

// "@type[n]" as find takes it.
bool is_selector(std::string_view text);

} // namespace uci
