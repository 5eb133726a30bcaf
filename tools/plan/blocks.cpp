// SPDX-License-Identifier: Apache-2.0
// What plans of several models have in common.
#include "tools/plan/blocks.h"

#include "tools/vocabulary/keys.h"

#include <algorithm>

namespace plan {

namespace {

bool is_alike(const key_outcome &one, const key_outcome &other) {
    return one.key == other.key && one.outcome == other.outcome && one.reason == other.reason &&
           one.suggestion == other.suggestion &&
           (one.reason == reason::unset || one.message == other.message);
}

bool is_alike(const request_plan &one, const request_plan &other) {
    return one.result == other.result && one.response == other.response && one.seconds == other.seconds &&
           std::string_view(one.then) == other.then && one.notes == other.notes &&
           std::ranges::equal(one.keys, other.keys, [](const key_outcome &left, const key_outcome &right) {
               return is_alike(left, right);
           });
}

// "package.section.option" in its parts; a selector has no dot in it.
block_change parts_of(const option_change &each, const request_plan &made) {
    const size_t first = each.path.find('.');
    const size_t second = each.path.find('.', first + 1);
    block_change result;
    result.package = each.path.substr(0, first);
    result.sections = {each.path.substr(first + 1, second - first - 1)};
    result.option = second == std::string::npos ? "" : each.path.substr(second + 1);
    result.key = each.key;
    result.from = each.from;
    result.to = each.to;
    result.unforeseen = each.unforeseen;
    result.plans = {&made};
    return result;
}

// Whether they are what one key makes of one option, perhaps in sections of other names.
bool is_variant(const block_change &one, const block_change &other) {
    return one.package == other.package && one.option == other.option && one.key == other.key;
}

bool is_secret(const std::string &key) {
    const vocabulary::key *known = vocabulary::find_key(key);
    return known != nullptr && known->secrecy == vocabulary::secrecy::secret;
}

// Whether a model's change is told together with that of another model. What each makes of a secret tells
// nobody anything.
bool is_counterpart(const block_change &one, const block_change &other) {
    return is_variant(one, other) && one.from.has_value() == other.from.has_value() &&
           (one.to == other.to || (one.to && other.to && is_secret(one.key)));
}

void join(block_change &known, const block_change &next) {
    if (std::ranges::find(known.sections, next.sections.front()) == known.sections.end())
        known.sections.push_back(next.sections.front());
    known.same_from = known.same_from && known.from == next.from;
    known.same_to = known.same_to && known.to == next.to;
    known.plans.push_back(next.plans.front());
}

// Brings the variants of one option together, by the place of the first.
void gather(std::vector<block_change> &changes) {
    for (auto first = changes.begin(); first != changes.end();)
        first = std::stable_partition(first + 1, changes.end(), [&, own = *first](const block_change &each) {
            return is_variant(own, each);
        });
}

std::string lines_side_by_side(std::string text) {
    while (text.ends_with('\n'))
        text.pop_back();
    for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2)
        text.replace(at, 1, "; ");
    return text;
}

// What the effect does to the router besides its configuration; "" for what need not be told.
std::string deed_of(const effect &each) {
    const std::string &subject = each.masked.empty() ? each.subject : each.masked;
    switch (each.kind) {
    case stage_system:
    case stage_exec:
    case stage_fork:
        return subject == "uci commit" ? "" : subject;
    case stage_popen:
        return subject;
    case stage_dispatch:
        return "(the companion's " + each.subject + ")";
    case stage_iwpriv:
        return "iwpriv " + each.subject + " set " + each.parameter + "=" + each.value;
    case stage_write:
        return "(writes " + each.subject + ": " + lines_side_by_side(each.value) + ")";
    default:
        return "";
    }
}

} // namespace

std::vector<block> blocks_of(const std::vector<request_plan> &made) {
    std::vector<block> blocks;
    for (const request_plan &each : made) {
        const auto known = std::ranges::find_if(
            blocks, [&](const block &candidate) { return is_alike(candidate.first(), each); });
        if (known != blocks.end())
            known->plans.push_back(&each);
        else
            blocks.push_back({{&each}});
    }
    return blocks;
}

std::string block_change::path() const {
    std::string middle;
    for (const std::string &each : sections)
        middle += (middle.empty() ? "" : ",") + each;
    return package + "." + (sections.size() > 1 ? "{" + middle + "}" : middle) +
           (option.empty() ? "" : "." + option);
}

std::vector<block_change> changes_of(const block &shown, std::vector<option_change> request_plan::*list) {
    std::vector<block_change> result;
    for (const request_plan *made : shown.plans) {
        // Within one plan no two changes are one.
        std::vector<bool> taken(result.size());
        for (const option_change &each : made->*list) {
            const block_change next = parts_of(each, *made);
            size_t at = 0;
            while (at < taken.size() && (taken[at] || !is_counterpart(result[at], next)))
                ++at;
            if (at < taken.size()) {
                taken[at] = true;
                join(result[at], next);
            } else {
                result.push_back(next);
            }
        }
    }
    gather(result);
    return result;
}

std::vector<block_deed> deeds_of(const block &shown) {
    std::vector<block_deed> result;
    for (const request_plan *made : shown.plans) {
        auto place = result.begin(); // behind this plan's last deed
        for (const effect &each : made->effects) {
            const std::string deed = each.done ? deed_of(each) : "";
            if (deed.empty())
                continue;
            auto known = std::find_if(place, result.end(),
                                      [&](const block_deed &other) { return other.text == deed; });
            if (known == result.end())
                known = result.insert(place, {deed, {}});
            known->plans.push_back(made);
            place = known + 1;
        }
    }
    return result;
}

} // namespace plan
