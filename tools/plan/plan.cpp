// SPDX-License-Identifier: Apache-2.0
// What a request would do to a device.
#include "tools/plan/plan.h"

#include "tools/plan/json.h"
#include "tools/plan/radios.h"
#include "tools/plan/reasons.h"

#include <algorithm>
#include <array>
#include <map>

namespace plan {

namespace {

constexpr std::array outcome_names{"changed", "same", "applied", "refused", "ignored", "unknown"};
constexpr std::array reason_names{"",      "check",    "too-long",   "too-short", "level", "type",
                                  "unset", "repeater", "overridden", "never",     "other"};

std::string text_or_nothing(const char *text) { return text != nullptr ? text : ""; }

effect kept(const stage_effect &each) {
    return {each.kind,
            each.outcome == stage_done,
            text_or_nothing(each.subject),
            text_or_nothing(each.parameter),
            each.kind == stage_write ? std::string(each.value, each.length) : text_or_nothing(each.value),
            text_or_nothing(each.key),
            each.kind == stage_sleep ? each.seconds : each.number,
            each.unforeseen};
}

bool starts(const effect &each, std::string_view command) {
    return (each.kind == stage_fork || each.kind == stage_system || each.kind == stage_exec) &&
           each.subject.find(command) != std::string::npos;
}

// What the commands that the handler leaves behind come to.
const char *end_of(const std::vector<effect> &effects) {
    struct end {
        const char *name;
        std::string_view command;
    };
    constexpr std::array<end, 3> ends{{{"reboot", "; reboot"},
                                       {"restart", "/etc/init.d/network restart"},
                                       {"notify", "ubus call mqtt notify"}}};
    for (const end &candidate : ends)
        if (std::ranges::any_of(effects, [&](const effect &each) { return starts(each, candidate.command); }))
            return candidate.name;
    return "none";
}

std::vector<std::string> notes_of(const request_plan &made, const snapshot &device) {
    std::vector<std::string> notes;
    for (const effect &each : made.effects)
        if (each.unforeseen)
            notes.push_back("only the router's shell could tell what this comes to: " + each.subject);
    const bool has_digest = std::ranges::any_of(
        made.effects, [](const effect &each) { return each.kind == stage_set && each.key == "password"; });
    if (has_digest && !device.service_code)
        notes.emplace_back("the service code is not known: the password's digest will be another one");
    return notes;
}

} // namespace

const char *to_text(outcome value) { return outcome_names.at(static_cast<size_t>(value)); }

const char *to_text(reason value) { return reason_names.at(static_cast<size_t>(value)); }

bool is_finding(outcome value) {
    return value == outcome::refused || value == outcome::ignored || value == outcome::unknown;
}

route find_route(const std::string &name) {
    stage_begin();
    uint32_t count = 0;
    api_entity *routes = stage_functions()->get_api_entity(&count);
    stage_end();
    std::string known;
    for (const api_entity &each : std::span(routes, count)) {
        const std::string path = each.path;
        if (path == name || path.substr(path.rfind('/') + 1) == name)
            return {path, each.method, each.handler};
        known += "\n  " + path;
    }
    throw input_error("there is no route " + name + "; there are" + known);
}

request_plan make_plan(rehearsal &stage, const snapshot &device, const route &asked, json_object *request,
                       bool explained) {
    request_plan made;
    made.id = device.id;
    made.model = device.model;
    made.route = asked.path;
    stage.set_device(device);
    const stage_result result = stage.play(asked.handler, request);
    made.result = result.result;
    made.response = answer_of(result.response);
    made.seconds = stage_seconds();
    for (const stage_effect &each : stage.effects())
        made.effects.push_back(kept(each));
    made.changes = stage.options().committed_changes();
    made.uncommitted = stage.options().recorded_changes();
    made.radios_on = radios_on(stage.options().committed("wireless"));
    made.then = end_of(made.effects);
    made.notes = notes_of(made, device);
    if (explained)
        made.keys = outcomes_of(stage, device, asked, request, made);
    return made;
}

} // namespace plan
