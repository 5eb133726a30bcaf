// SPDX-License-Identifier: Apache-2.0
// What a request itself shows of its keys.
#include "tools/plan/observer.h"

#include <utility>

namespace plan {

namespace {

bool is_write(stage_kind kind) { return kind == stage_set || kind == stage_delete; }

} // namespace

key_outcome row_of(std::string key, outcome what, reason why, std::string message, std::string suggestion) {
    return {std::move(key), what, why, std::move(message), std::move(suggestion)};
}

bool is_intended(const effect &each) {
    stage_effect bare{};
    bare.kind = each.kind;
    bare.outcome = each.done ? stage_done : stage_failed;
    return plan::is_intended(bare);
}

observer::observer(inquiry &asked) : made_(asked.made()) {
    for (const std::vector<option_change> *list : {&made_.changes, &made_.uncommitted})
        for (const option_change &each : *list)
            changed_.insert(asked.resolve(each.path));
    for (const effect &each : made_.effects)
        options_.push_back(is_write(each.kind) ? asked.resolve(each.subject) : "");
}

const std::string &observer::option_of(const effect &each) const {
    return options_[static_cast<size_t>(&each - made_.effects.data())];
}

std::optional<outcome> observer::best(const std::vector<const effect *> &effects) const {
    std::optional<outcome> result;
    for (const effect *each : effects) {
        const bool write = is_write(each->kind);
        if (write && changed_.contains(option_of(*each)))
            return outcome::changed;
        if (!write)
            result = outcome::applied;
        else if (!result)
            result = outcome::same;
    }
    return result;
}

// The effect of another key that undoes this one later on; null when none does.
const effect *observer::undone_by(const effect &each) const {
    const effect *last = nullptr;
    const std::string &option = option_of(each);
    for (const effect &later : made_.effects)
        if (&later > &each && later.done && is_write(later.kind) && option_of(later) == option)
            last = &later;
    return last != nullptr && last->key != each.key && last->value != each.value ? last : nullptr;
}

std::optional<key_outcome> observer::by_row(const std::string &key) const {
    std::vector<const effect *> lasting;
    const effect *winner = nullptr;
    for (const effect &each : made_.effects) {
        if (each.key != key || key.empty() || !is_intended(each))
            continue;
        const effect *undone = is_write(each.kind) ? undone_by(each) : nullptr;
        if (undone == nullptr)
            lasting.push_back(&each);
        else
            winner = undone;
    }
    if (const std::optional<outcome> what = best(lasting))
        return row_of(key, *what);
    if (winner == nullptr)
        return std::nullopt;
    const std::string by = winner->key.empty() ? "the route itself" : winner->key;
    return row_of(key, outcome::ignored, reason::overridden, by + " overwrites it");
}

} // namespace plan
