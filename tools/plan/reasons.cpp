// What becomes of each member of a request, and why nothing comes of some.
#include "tools/plan/reasons.h"

#include "plugin/aerolink.h"
#include "tools/plan/inquiry.h"
#include "tools/plan/limits.h"
#include "tools/plan/suggestion.h"
#include "tools/vocabulary/keys.h"

#include <algorithm>
#include <set>

namespace plan {

namespace {

constexpr int not_acceptable = -4;
constexpr int missing_parameter = -5;
constexpr int not_reachable = -24;

key_outcome found(std::string key, outcome what, reason why = reason::none, std::string message = "",
                  std::string suggestion = "") {
    return {std::move(key), what, why, std::move(message), std::move(suggestion)};
}

bool is_write(stage_kind kind) { return kind == stage_set || kind == stage_delete; }

// --- What the request itself shows ---------------------------------------------------------------

class observer {
public:
    explicit observer(inquiry &asked) : asked_(asked) {
        for (const std::vector<option_change> *list : {&asked.made().changes, &asked.made().uncommitted})
            for (const option_change &each : *list)
                changed_.insert(asked.resolve(each.path));
        for (const effect &each : asked.made().effects)
            options_.push_back(is_write(each.kind) ? asked.resolve(each.subject) : "");
    }

    bool changes(const std::string &option) const { return changed_.contains(option); }
    const std::string &option_of(const effect &each) const {
        return options_[static_cast<size_t>(&each - asked_.made().effects.data())];
    }

    // What the effects of these come to, by the best of them; nothing when there is none.
    std::optional<outcome> best(const std::vector<const effect *> &effects) const {
        std::optional<outcome> result;
        for (const effect *each : effects) {
            const bool write = is_write(each->kind);
            if (write && changes(option_of(*each)))
                return outcome::changed;
            if (!write)
                result = outcome::applied;
            else if (!result)
                result = outcome::same;
        }
        return result;
    }

    // The effect of another key that undoes this one later on; null when none does.
    const effect *undone_by(const effect &each) const {
        const effect *last = nullptr;
        const std::string &option = option_of(each);
        for (const effect &later : asked_.made().effects)
            if (&later > &each && later.done && is_write(later.kind) && option_of(later) == option)
                last = &later;
        return last != nullptr && last->key != each.key && last->value != each.value ? last : nullptr;
    }

private:
    inquiry &asked_;
    std::set<std::string> changed_;
    std::vector<std::string> options_; // of the effects, by place; "" for what is no write
};

bool is_intended(const effect &each) {
    stage_effect bare{};
    bare.kind = each.kind;
    bare.outcome = each.done ? stage_done : stage_failed;
    return plan::is_intended(bare);
}

// The outcome of a key whose row had effects; nothing when it had none.
std::optional<key_outcome> by_row(const observer &seen, const request_plan &made, const std::string &key) {
    std::vector<const effect *> lasting;
    const effect *winner = nullptr;
    for (const effect &each : made.effects) {
        if (each.key != key || key.empty() || !is_intended(each))
            continue;
        const effect *undone = is_write(each.kind) ? seen.undone_by(each) : nullptr;
        if (undone == nullptr)
            lasting.push_back(&each);
        else
            winner = undone;
    }
    if (const std::optional<outcome> best = seen.best(lasting))
        return found(key, *best);
    if (winner == nullptr)
        return std::nullopt;
    const std::string by = winner->key.empty() ? "the route itself" : winner->key;
    return found(key, outcome::ignored, reason::overridden, by + " overwrites it");
}

// --- Why nothing came of a key -------------------------------------------------------------------

std::string text_of_value(json_object *value) {
    const char *text = json_object_get_string(value);
    return text != nullptr ? text : "";
}

json_owner value_of(const vocabulary::key &known, const char *column) {
    return known.kind == vocabulary::kind::text ? json_owner(json_object_new_string(column))
                                                : parse_json(column);
}

// An acceptable value of the key other than this one; null when the key is in no vocabulary.
json_owner acceptable(const std::string &key, json_object *given) {
    const vocabulary::key *known = vocabulary::find_key(key);
    if (known == nullptr)
        return nullptr;
    json_owner first = value_of(*known, known->example);
    return json_object_equal(first.get(), given) != 0 ? value_of(*known, known->other) : std::move(first);
}

std::string list_of(std::string words) {
    for (size_t at = 0; (at = words.find('|', at)) != std::string::npos; at += 2)
        words.replace(at, 1, ", ");
    return words;
}

// What an acceptable value is, in a few words.
std::string expected(const std::string &key) {
    const vocabulary::key *known = vocabulary::find_key(key);
    if (known == nullptr)
        return "not an acceptable value";
    return *known->words != '\0' ? "one of " + list_of(known->words)
                                 : std::string("a value like ") + known->example;
}

const char *pattern_of(const inquiry &asked, const std::string &key) {
    for (const batch_entry *row : asked.rows_of(key))
        if (row->pattern != nullptr)
            return row->pattern;
    return nullptr;
}

// Another value would have had an effect. Which is wrong with this one?
key_outcome refused(inquiry &asked, const std::string &key, json_object *given, const std::string &good) {
    const auto because = [&](reason why, std::string message) {
        return found(key, outcome::refused, why, std::move(message));
    };
    const json_type type = json_object_get_type(given);
    if (type == json_type_null || type == json_type_object || type == json_type_array)
        return because(reason::type, std::string("a text, not ") + (type == json_type_null     ? "null"
                                                                    : type == json_type_object ? "an object"
                                                                                               : "an array"));
    const std::string text = text_of_value(given);
    if (const char *pattern = pattern_of(asked, key); pattern != nullptr && !inquiry::matches(pattern, text))
        return because(reason::check, length_rule(pattern).value_or(expected(key)));
    if (is_one_of_few(asked, key, good))
        return because(asked.rows_of(key).empty() ? reason::check : reason::level, expected(key));
    if (asked.has_effect(key, std::string(text.size(), 'a')))
        return because(reason::other, "not with these characters");
    if (const std::optional<size_t> most = longest_start(asked, key, text))
        return because(reason::too_long, "at most " + std::to_string(*most) + " bytes");
    if (const std::optional<size_t> least = shortest_extension(asked, key, text, good))
        return because(reason::too_short, "at least " + std::to_string(*least) + " bytes");
    return because(reason::other, expected(key));
}

// No value has an effect on this device now. Would one on another device, or alone?
key_outcome ignored(inquiry &asked, const std::string &key, json_object *good) {
    const auto because = [&](reason why, std::string message) {
        return found(key, outcome::ignored, why, std::move(message));
    };
    const auto would = [&](const variation &other) {
        return asked.has_effect(key, asked.request(), other) ||
               (good != nullptr && asked.has_effect(key, asked.with(key, good).get(), other));
    };
    variation filled;
    std::string paths;
    for (const batch_entry *row : asked.rows_of(key)) {
        filled.filled.emplace_back(row->uci_path);
        paths += (paths.empty() ? "" : ", ") + std::string(row->uci_path);
    }
    if (!filled.filled.empty() && would(filled))
        return because(reason::unset, paths + " holds nothing yet");
    if (asked.device().repeater) {
        variation repeater_down;
        repeater_down.repeater_down = true;
        if (would(repeater_down))
            return because(reason::repeater, "never while the repeater is connected");
        filled.repeater_down = true;
        if (would(filled))
            return because(reason::repeater,
                           "never while the repeater is connected, and " + paths + " holds nothing yet");
    }
    const int result = asked.made().result;
    if (result == missing_parameter)
        return because(reason::other, "the request lacks a member that the route needs");
    variation internet_up;
    internet_up.internet_up = true;
    if (result == not_reachable && asked.has_effect(key, asked.request(), internet_up))
        return because(reason::other, "the internet is not reachable");
    std::vector<std::string> others;
    json_object_object_foreach(asked.request(), name, value) {
        static_cast<void>(value);
        if (key != name)
            others.emplace_back(name);
    }
    if (!others.empty() && asked.has_effect(key, asked.without(others).get()))
        return because(reason::overridden, "another key of this request overwrites it");
    const bool has_row = !asked.rows_of(key).empty();
    return because(has_row ? reason::never : reason::other,
                   has_row ? "this route never writes it on this model" : "nothing comes of it here and now");
}

// The keys of which something would come if all of these had acceptable values: one play instead of one for
// each.
std::vector<std::string> acceptable_together(inquiry &asked, const std::vector<std::string> &keys) {
    json_owner request = asked.without({});
    for (const std::string &key : keys)
        if (json_owner good = acceptable(key, json_object_object_get(request.get(), key.c_str())))
            json_object_object_add(request.get(), key.c_str(), good.release());
    return keys.empty() ? keys : asked.effective_keys(request.get());
}

// The route has looked at the key, and nothing came of it. surely: keys of which it is known that another
// value would have an effect.
key_outcome silent(inquiry &asked, const std::string &key, json_object *given,
                   const std::vector<std::string> &surely) {
    const json_owner good = acceptable(key, given);
    if (good && (std::ranges::find(surely, key) != surely.end() ||
                 asked.has_effect(key, asked.with(key, good.get()).get())))
        return refused(asked, key, given, text_of_value(good.get()));
    return ignored(asked, key, good.get());
}

// --- Keys that no row accounts for ---------------------------------------------------------------

// What the effects come to that depend on the key's value, or else on its presence.
key_outcome by_difference(inquiry &asked, const observer &seen, const std::string &key, json_object *given) {
    const json_owner good = acceptable(key, given);
    const bool has_failed = asked.made().result == not_acceptable;
    if (has_failed && good && asked.result_of(asked.with(key, good.get()).get()) == 0)
        return refused(asked, key, given, text_of_value(good.get()));
    std::vector<const effect *> own;
    if (good)
        own = asked.missing_from(asked.with(key, good.get()).get());
    if (own.empty())
        own = asked.missing_from(asked.without({key}).get());
    std::erase_if(own, [](const effect *each) { return !is_intended(*each); });
    if (own.empty() && asked.made().result != 0)
        return silent(asked, key, given, {});
    return found(key, seen.best(own).value_or(outcome::applied));
}

// The keys of the request that show in what the route does although no row accounts for them.
std::set<std::string> showing(inquiry &asked, const std::vector<std::string> &candidates) {
    std::set<std::string> result;
    if (candidates.empty() || (candidates.size() > 1 && !asked.differs(asked.without(candidates).get())))
        return result;
    for (const std::string &key : candidates)
        if (asked.differs(asked.without({key}).get()))
            result.insert(key);
    return result;
}

// --- Keys that the route does not know -----------------------------------------------------------

bool holds_a_batch(const inquiry &asked, json_object *value) {
    if (!json_object_is_type(value, json_type_object))
        return false;
    json_object_object_foreach(value, name, member) {
        static_cast<void>(member);
        if (asked.is_asked_for(name))
            return true;
    }
    return false;
}

key_outcome unknown(const inquiry &asked, const std::string &key, json_object *given) {
    if (holds_a_batch(asked, given))
        return found(key, outcome::unknown, reason::other, "there is a batch inside: send that alone");
    const bool elsewhere = vocabulary::find_key(key) != nullptr;
    const std::string meant = elsewhere ? "" : nearest(key, asked.known_keys());
    return found(key, outcome::unknown, reason::other,
                 elsewhere ? "not on this model, by this route" : "there is no such key", meant);
}

// Written although it did not pass its check: the answer alone says so.
bool is_answered_false(json_object *response, const std::string &key) {
    json_object *answer = nullptr;
    return json_object_object_get_ex(response, key.c_str(), &answer) &&
           json_object_is_type(answer, json_type_string) && text_of(answer) == "set false";
}

} // namespace

std::vector<key_outcome> outcomes_of(rehearsal &stage, const snapshot &device, const route &route_asked,
                                     json_object *request, const request_plan &made) {
    inquiry asked(stage, device, route_asked, request, made);
    const observer seen(asked);
    const json_owner response = parse_json(made.response);
    std::vector<key_outcome> result;
    std::vector<std::string> open;
    json_object_object_foreach(request, name, value) {
        static_cast<void>(value);
        if (std::optional<key_outcome> known = by_row(seen, made, name)) {
            if (known->reason == reason::none && is_answered_false(response.get(), name))
                known->message = "answered \"set false\", but written all the same";
            result.push_back(std::move(*known));
        } else {
            result.push_back(found(name, outcome::unknown));
            if (asked.is_asked_for(name) || asked.is_reading())
                open.emplace_back(name);
        }
    }
    const std::set<std::string> in_sight = showing(asked, open);
    std::erase_if(open, [&](const std::string &key) { return in_sight.contains(key); });
    const std::vector<std::string> surely = acceptable_together(asked, open);
    for (key_outcome &each : result) {
        json_object *given = json_object_object_get(request, each.key.c_str());
        if (each.outcome != outcome::unknown)
            continue;
        if (in_sight.contains(each.key))
            each = by_difference(asked, seen, each.key, given);
        else if (asked.is_asked_for(each.key))
            each = silent(asked, each.key, given, surely);
        else
            each = unknown(asked, each.key, given);
    }
    return result;
}

} // namespace plan
