// SPDX-License-Identifier: Apache-2.0
// What becomes of each member of a request, and why nothing comes of some.
#include "tools/plan/reasons.h"

#include "tools/plan/observer.h"
#include "tools/plan/refusals.h"
#include "tools/plan/suggestion.h"
#include "tools/vocabulary/keys.h"

#include <algorithm>
#include <set>

namespace plan {

namespace {

constexpr int not_acceptable = -4;
constexpr size_t members_looked_at = 32; // of what may be a batch
constexpr size_t few_keys = 8;           // that a sentence can hold

// --- Keys that no row accounts for ---------------------------------------------------------------

// What the effects come to that depend on the key's value, or else on its presence.
key_outcome by_difference(inquiry &asked, const observer &seen, const std::string &key, json_object *given) {
    const json_owner good = acceptable(key, given);
    const bool has_failed = asked.made().result == not_acceptable;
    if (has_failed && good && asked.result_of(asked.with(key, good.get()).get()) == 0)
        return refused(asked, key, given, good.get());
    std::vector<const effect *> own;
    if (good)
        own = asked.missing_from(asked.with(key, good.get()).get());
    if (own.empty())
        own = asked.missing_from(asked.without({key}).get());
    std::erase_if(own, [](const effect *each) { return !is_intended(*each); });
    if (own.empty() && asked.made().result != 0)
        return silent(asked, key, given, {});
    return row_of(key, seen.best(own).value_or(outcome::applied));
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

// The object that the value is, that it begins with as an array, or that it is the text of; null for none.
json_owner object_in(json_object *value) {
    if (json_object_is_type(value, json_type_array) && json_object_array_length(value) > 0)
        value = json_object_array_get_idx(value, 0);
    if (json_object_is_type(value, json_type_object))
        return json_owner(json_object_get(value));
    if (!json_object_is_type(value, json_type_string) || !text_of(value).starts_with('{'))
        return nullptr;
    try {
        return parse_json(text_of(value), json_use::request);
    } catch (const input_error &) {
        return nullptr;
    }
}

bool resembles_a_key(const inquiry &asked, const char *name) {
    static const std::vector<std::string_view> names = [] {
        std::vector<std::string_view> all;
        for (const vocabulary::key &each : vocabulary::keys())
            all.emplace_back(each.name);
        return all;
    }();
    return asked.is_asked_for(name) || !nearest_key(name, names).empty();
}

// Whether most of what is in the value, or of its beginning, are keys.
bool holds_a_batch(const inquiry &asked, json_object *value) {
    const json_owner inner = object_in(value);
    if (!inner)
        return false;
    size_t members = 0;
    size_t keys = 0;
    json_object_object_foreach(inner.get(), name, member) {
        static_cast<void>(member);
        if (++members > members_looked_at)
            break;
        keys += resembles_a_key(asked, name) ? 1 : 0;
    }
    return keys > 0 && 2 * keys >= std::min(members, members_looked_at);
}

// What a device of this model lacks, of which one fresh from the factory has the key; "" for nothing.
std::string missing_for(inquiry &asked, const std::string &key, json_object *given) {
    variation factory;
    factory.factory = true;
    const json_owner good = acceptable(key, given);
    return asked.would_be_asked_for(key, factory)
               ? asked.lack_of(key, asked.with(key, good.get()).get(), factory)
               : "";
}

// "; did you mean ..." for a key that the model does not have; the one that it has goes into the suggestion.
struct likeness {
    std::string meant;
    std::string elsewhere;
};

// What is in the request already was not meant by another of its members.
likeness resembling(const inquiry &asked, const std::string &key) {
    const std::vector<std::string> known = asked.known_keys();
    const std::set<std::string_view> own(known.begin(), known.end());
    std::vector<std::string_view> candidates;
    for (const bool wanted : {true, false})
        for (const vocabulary::key &each : vocabulary::keys())
            if (own.contains(each.name) == wanted)
                candidates.emplace_back(each.name);
    const std::string meant(nearest_key(key, candidates));
    if (meant.empty() || json_object_object_get_ex(asked.request(), meant.c_str(), nullptr))
        return {};
    if (own.contains(meant))
        return {meant, ""};
    return {"", "; did you mean " + meant + ", which this model does not take by this route?"};
}

// "; the route has ..." for a route of few keys.
std::string few_keys_of(const inquiry &asked) {
    const std::vector<std::string> known = asked.known_keys();
    const std::set<std::string> own(known.begin(), known.end());
    std::string text;
    for (const std::string &each : own)
        text += (text.empty() ? "; the route has " : ", ") + each;
    return own.size() <= few_keys ? text : "";
}

key_outcome unknown(inquiry &asked, const std::string &key, json_object *given) {
    if (holds_a_batch(asked, given))
        return row_of(key, outcome::unknown, reason::other, "there is a batch inside: send that alone");
    if (vocabulary::find_key(key) == nullptr) {
        const likeness like = resembling(asked, key);
        const std::string others = like.meant.empty() && like.elsewhere.empty() ? few_keys_of(asked) : "";
        return row_of(key, outcome::unknown, reason::other, "there is no such key" + like.elsewhere + others,
                      like.meant);
    }
    const std::string missing = missing_for(asked, key, given);
    return row_of(key, outcome::unknown, reason::other,
                  missing.empty() ? "not on this model, by this route"
                                  : "not with this configuration: " + missing);
}

// Written although it did not pass its check: the answer alone says so.
bool is_answered_false(json_object *response, const std::string &key) {
    json_object *answer = nullptr;
    return json_object_object_get_ex(response, key.c_str(), &answer) &&
           json_object_is_type(answer, json_type_string) && text_of(answer) == "set false";
}

// A text is wanted, and a container's JSON text is one.
std::string note_on_type(const std::string &key, json_object *given) {
    const json_type type = json_object_get_type(given);
    const vocabulary::key *known = vocabulary::find_key(key);
    if ((type != json_type_object && type != json_type_array) || known == nullptr ||
        known->kind != vocabulary::kind::text)
        return "";
    return std::string(type == json_type_object ? "an object" : "an array") + ": stored as its JSON text";
}

} // namespace

std::vector<key_outcome> outcomes_of(rehearsal &stage, const snapshot &device, const route &route_asked,
                                     json_object *request, const request_plan &made) {
    inquiry asked(stage, device, route_asked, request, made);
    const observer seen(asked);
    const json_owner response = parse_json(made.response, json_use::device);
    std::vector<key_outcome> result;
    std::vector<std::string> open;
    json_object_object_foreach(request, name, value) {
        static_cast<void>(value);
        if (std::optional<key_outcome> known = seen.by_row(name)) {
            if (known->reason == reason::none && is_answered_false(response.get(), name))
                known->message = "answered \"set false\", but written all the same";
            result.push_back(std::move(*known));
        } else {
            result.push_back(row_of(name, outcome::unknown));
            if (asked.is_asked_for(name) || asked.is_reading())
                open.emplace_back(name);
        }
    }
    const std::set<std::string> in_sight = showing(asked, open);
    std::erase_if(open, [&](const std::string &key) { return in_sight.contains(key); });
    const std::vector<std::string> surely = acceptable_together(asked, open);
    for (key_outcome &each : result) {
        json_object *given = json_object_object_get(request, each.key.c_str());
        if (each.outcome == outcome::unknown)
            each = in_sight.contains(each.key)    ? by_difference(asked, seen, each.key, given)
                   : asked.is_asked_for(each.key) ? silent(asked, each.key, given, surely)
                                                  : unknown(asked, each.key, given);
        if (!is_finding(each.outcome) && each.message.empty())
            each.message = note_on_type(each.key, given);
    }
    return result;
}

} // namespace plan
