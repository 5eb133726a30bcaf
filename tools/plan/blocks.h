// SPDX-License-Identifier: Apache-2.0
// What plans of several models have in common.
#pragma once

#include "tools/plan/plan.h"

#include <optional>
#include <string>
#include <vector>

namespace plan {

// What the effect does to the router besides its configuration; "" for what need not be told.
std::string deed_of(const effect &each);

// Plans that say the same of every key, do the same besides and end alike; only names of sections and old
// values may differ.
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
    std::optional<std::string> from;
    bool same_from = true; // false: the old values differ
    std::optional<std::string> to;
    std::vector<const request_plan *> plans; // that have it

    // "wireless.{wifi0,radio0}.htmode"
    std::string path() const;
};

std::vector<block_change> changes_of(const block &shown, std::vector<option_change> request_plan::*list);

} // namespace plan
