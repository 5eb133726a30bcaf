// SPDX-License-Identifier: Apache-2.0
// What plans of several models have in common.
#pragma once

#include "tools/plan/plan.h"

#include <optional>
#include <string>
#include <vector>

namespace plan {

// Plans that say the same of every key and end alike; names of sections, values and commands may differ.
struct block {
    std::vector<const request_plan *> plans; // never none

    const request_plan &first() const { return *plans.front(); }
};

// In the order of the first of each.
std::vector<block> blocks_of(const std::vector<request_plan> &made);

// A change of a block: the sections of the models side by side.
struct block_change {
    std::string package;
    std::vector<std::string> sections;
    std::string option; // "" for a section itself
    std::string key;    // as option_change has it
    std::optional<std::string> from;
    bool same_from = true; // false: the old values differ
    std::optional<std::string> to;
    bool same_to = true; // false: the new ones do too, as digests of one secret
    bool unforeseen = false;
    std::vector<const request_plan *> plans; // that have it

    // "wireless.{wifi0,radio0}.htmode"
    std::string path() const;
};

// In the order of the first plan; what an option ends with on other models stands beside it.
std::vector<block_change> changes_of(const block &shown, std::vector<option_change> request_plan::*list);

// What the plans do to the router besides its configuration, in the order of each.
struct block_deed {
    std::string text;
    std::vector<const request_plan *> plans; // that do it
};

std::vector<block_deed> deeds_of(const block &shown);

} // namespace plan
