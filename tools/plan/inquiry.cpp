// SPDX-License-Identifier: Apache-2.0
// Asks of one device and request what would come of another value, another device or another request.
#include "tools/plan/inquiry.h"

#include "plugin/aerolink.h"

#include <algorithm>
#include <array>

namespace plan {

namespace {

constexpr std::array intended{stage_set,  stage_delete,   stage_system, stage_exec,
                              stage_fork, stage_dispatch, stage_iwpriv, stage_write};

bool is_same(const effect &one, const stage_effect &other) {
    const std::string_view value = other.kind == stage_write ? std::string_view(other.value, other.length)
                                   : other.value != nullptr  ? std::string_view(other.value)
                                                             : std::string_view();
    return one.kind == other.kind && one.done == (other.outcome == stage_done) &&
           one.subject == (other.subject != nullptr ? other.subject : "") &&
           one.parameter == (other.parameter != nullptr ? other.parameter : "") && one.value == value;
}

} // namespace

bool is_intended(const stage_effect &each) {
    return each.outcome == stage_done && std::ranges::find(intended, each.kind) != intended.end();
}

inquiry::inquiry(rehearsal &stage, const snapshot &device, const route &asked, json_object *request,
                 const request_plan &made)
    : stage_(stage), device_(device), route_(asked), request_(request),
      made_(made), own_{stage.signature(), made.result, is_reading() ? made.response : ""},
      asked_for_(stage.asked_for()), rows_(stage.options().rows_read()) {}

bool inquiry::is_asked_for(std::string_view key) const {
    return std::ranges::find(asked_for_, key, [](const char *name) { return std::string_view(name); }) !=
           asked_for_.end();
}

std::vector<const batch_entry *> inquiry::rows_of(const std::string &key) const {
    std::vector<const batch_entry *> found;
    for (const batch_entry *row : rows_)
        if (key == row->json_key && std::ranges::find(found, row) == found.end())
            found.push_back(row);
    return found;
}

json_owner inquiry::with(const std::string &key, json_object *value) const {
    json_owner other(json_object_new_object());
    json_object_object_foreach(request_, name, member) {
        json_object *chosen = key == name ? value : member;
        json_object_object_add(other.get(), name, json_object_get(chosen));
    }
    return other;
}

json_owner inquiry::without(const std::vector<std::string> &keys) const {
    json_owner other(json_object_new_object());
    json_object_object_foreach(request_, name, member) {
        if (std::ranges::find(keys, std::string_view(name)) == keys.end())
            json_object_object_add(other.get(), name, json_object_get(member));
    }
    return other;
}

inquiry::trace inquiry::play(json_object *request, const variation &other) {
    const stage_result result = stage_.play(route_.handler, request, other);
    return {stage_.signature(), result.result, is_reading() ? answer_of(result.response) : ""};
}

bool inquiry::is_attributed(const std::string &key) const {
    return std::ranges::any_of(stage_.effects(), [&](const stage_effect &each) {
        return each.key != nullptr && key == each.key && is_intended(each);
    });
}

// An effect that no row accounts for shows by leaving the key out.
bool inquiry::has_effect(const std::string &key, json_object *request, const variation &other) {
    const trace seen = play(request, other);
    if (is_attributed(key))
        return true;
    const bool has_failed = seen.result != 0 && std::ranges::none_of(stage_.effects(), is_intended);
    if (seen == own_ || has_failed)
        return false;
    json_owner rest(json_object_new_object());
    json_object_object_foreach(request, name, member) {
        if (key != name)
            json_object_object_add(rest.get(), name, json_object_get(member));
    }
    return play(rest.get(), other) != seen;
}

bool inquiry::has_effect(const std::string &key, const std::string &text, const variation &other) {
    const json_owner value(json_object_new_string_len(text.data(), static_cast<int>(text.size())));
    return has_effect(key, with(key, value.get()).get(), other);
}

bool inquiry::would_be_asked_for(const std::string &key, const variation &other) {
    play(request_, other);
    return std::ranges::any_of(stage_.asked_for(), [&](const char *name) { return key == name; });
}

std::string inquiry::lack_of(const std::string &key, json_object *request, const variation &other) {
    play(request, other);
    const bool has_row = is_attributed(key);
    std::vector<std::string> written;
    for (const stage_effect &each : stage_.effects())
        if (each.kind == stage_set &&
            (has_row ? each.key != nullptr && key == each.key : each.key == nullptr))
            written.emplace_back(each.subject);
    play(request, {});
    for (const std::string &path : written)
        if (std::string lack = stage_.options().lack_of(path); !lack.empty())
            return lack;
    return "";
}

std::string inquiry::failure_of(const std::string &key) {
    const auto failed = std::ranges::find_if(made_.effects, [&](const effect &each) {
        return each.kind == stage_set && !each.done && each.key == key;
    });
    if (failed == made_.effects.end())
        return "";
    play(request_, {});
    return stage_.options().lack_of(failed->subject);
}

std::vector<std::string> inquiry::effective_keys(json_object *request) {
    play(request, {});
    std::vector<std::string> keys;
    for (const stage_effect &each : stage_.effects())
        if (each.key != nullptr && is_intended(each) && (keys.empty() || keys.back() != each.key))
            keys.emplace_back(each.key);
    return keys;
}

bool inquiry::differs(json_object *request, const variation &other) { return play(request, other) != own_; }

int inquiry::result_of(json_object *request, const variation &other) { return play(request, other).result; }

std::vector<const effect *> inquiry::missing_from(json_object *request) {
    play(request, {});
    std::vector<const effect *> missing;
    for (const effect &each : made_.effects) {
        const auto again = [&](const stage_effect &other) { return is_same(each, other); };
        if (each.kind != stage_log && std::ranges::none_of(stage_.effects(), again))
            missing.push_back(&each);
    }
    return missing;
}

bool inquiry::matches(const char *pattern, const std::string &text) {
    stage_begin();
    const int result = stage_functions()->regex_exe(pattern, text.c_str());
    stage_end();
    return result == 1;
}

} // namespace plan
