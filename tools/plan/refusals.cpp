// SPDX-License-Identifier: Apache-2.0
// Why nothing comes of a key, found out by asking.
#include "tools/plan/refusals.h"

#include "plugin/aerolink.h"
#include "tools/plan/limits.h"
#include "tools/plan/observer.h"
#include "tools/vocabulary/keys.h"

#include <algorithm>

namespace plan {

namespace {

constexpr int missing_parameter = -5;
constexpr int not_reachable = -24;

std::string text_of_value(json_object *value) {
    const char *text = json_object_get_string(value);
    return text != nullptr ? text : "";
}

json_owner value_of(const vocabulary::key &known, const char *column) {
    return known.kind == vocabulary::kind::text ? json_owner(json_object_new_string(column))
                                                : parse_json(column, json_use::request);
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

// No value has an effect on this device now. Would one on another device, or alone?
key_outcome ignored(inquiry &asked, const std::string &key, json_object *good) {
    const auto because = [&](reason why, std::string message) {
        return row_of(key, outcome::ignored, why, std::move(message));
    };
    const auto would = [&](const variation &other) {
        return asked.has_effect(key, asked.request(), other) ||
               (good != nullptr && asked.has_effect(key, asked.with(key, good).get(), other));
    };
    if (std::string missing = asked.failure_of(key); !missing.empty())
        return because(reason::other, std::move(missing));
    variation filled;
    std::string paths;
    for (const batch_entry *row : asked.rows_of(key)) {
        filled.filled.emplace_back(row->uci_path);
        paths += (paths.empty() ? "" : ", ") + std::string(row->uci_path);
    }
    // What the options lack to be written on the device.
    const auto lack = [&](const variation &other) {
        const json_owner request = good != nullptr ? asked.with(key, good) : asked.without({});
        const std::string missing = asked.lack_of(key, request.get(), other);
        return missing.empty() ? paths + " holds nothing yet" : missing;
    };
    if (!filled.filled.empty() && would(filled))
        return because(reason::unset, lack(filled));
    if (asked.device().repeater) {
        variation repeater_down;
        repeater_down.repeater_down = true;
        if (would(repeater_down))
            return because(reason::repeater, "never while the repeater is connected");
        filled.repeater_down = true;
        if (would(filled))
            return because(reason::repeater, "never while the repeater is connected, and " + lack(filled));
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
    filled.factory = filled.repeater_down = true;
    if (would(filled))
        return because(reason::unset, lack(filled));
    const bool has_row = !asked.rows_of(key).empty();
    return because(has_row ? reason::never : reason::other,
                   has_row ? "this route never writes it on this model" : "nothing comes of it here and now");
}

} // namespace

json_owner acceptable(const std::string &key, json_object *given) {
    const vocabulary::key *known = vocabulary::find_key(key);
    if (known == nullptr)
        return nullptr;
    json_owner first = value_of(*known, known->example);
    return json_object_equal(first.get(), given) != 0 ? value_of(*known, known->other) : std::move(first);
}

key_outcome refused(inquiry &asked, const std::string &key, json_object *given, json_object *good_value) {
    const std::string good = text_of_value(good_value);
    const auto because = [&](reason why, std::string message) {
        return row_of(key, outcome::refused, why, std::move(message));
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

std::vector<std::string> acceptable_together(inquiry &asked, const std::vector<std::string> &keys) {
    json_owner request = asked.without({});
    for (const std::string &key : keys)
        if (json_owner good = acceptable(key, json_object_object_get(request.get(), key.c_str())))
            json_object_object_add(request.get(), key.c_str(), good.release());
    return keys.empty() ? keys : asked.effective_keys(request.get());
}

key_outcome silent(inquiry &asked, const std::string &key, json_object *given,
                   const std::vector<std::string> &surely) {
    const json_owner good = acceptable(key, given);
    if (good && (std::ranges::find(surely, key) != surely.end() ||
                 asked.has_effect(key, asked.with(key, good.get()).get())))
        return refused(asked, key, given, good.get());
    return ignored(asked, key, good.get());
}

} // namespace plan
