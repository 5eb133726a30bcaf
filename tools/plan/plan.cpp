// SPDX-License-Identifier: Apache-2.0
// What a request would do to a device.
#include "tools/plan/plan.h"

#include "devkit/apid/text.h"
#include "tools/plan/bands.h"
#include "tools/plan/json.h"
#include "tools/plan/radios.h"
#include "tools/plan/reasons.h"
#include "tools/vocabulary/keys.h"

#include <algorithm>
#include <array>
#include <utility>

namespace plan {

namespace {

constexpr std::string_view mask = "***";
constexpr std::array outcome_names{"changed", "same", "applied", "refused", "ignored", "unknown"};
constexpr std::array reason_names{"",      "check",    "too-long",   "too-short", "level", "type",
                                  "unset", "repeater", "overridden", "never",     "other"};

// Whether it stores the password, of which the router keeps a salted digest.
bool is_digest(const effect &each) { return each.kind == stage_set && each.key == "password"; }

std::string text_or_nothing(const char *text) { return text != nullptr ? text : ""; }

effect kept(const stage_effect &each) {
    return {each.kind,
            each.outcome == stage_done,
            text_or_nothing(each.subject),
            text_or_nothing(each.parameter),
            each.kind == stage_write ? std::string(each.value, each.length) : text_or_nothing(each.value),
            text_or_nothing(each.key),
            each.kind == stage_sleep ? each.seconds : each.number,
            each.unforeseen,
            ""};
}

// How much of the text the word takes at its beginning, where a backslash may stand before each letter; 0
// when something else stands there.
size_t length_of(std::string_view word, std::string_view text) {
    size_t at = 0;
    for (const char c : word) {
        at += text.substr(at, 1) == "\\" && text.substr(at + 1, 1) == std::string_view(&c, 1) ? 1 : 0;
        if (text.substr(at, 1) != std::string_view(&c, 1))
            return 0;
        ++at;
    }
    return at;
}

std::string masked(const std::string &text, std::string_view secret) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t length = length_of(secret, std::string_view(text).substr(at));
        result += length > 0 ? mask : std::string_view(text).substr(at, 1);
        at += std::max<size_t>(length, 1);
    }
    return result;
}

// A command line may hold what nobody should read over a shoulder.
void mask_secrets(std::vector<effect> &effects, json_object *request) {
    json_object_object_foreach(request, name, value) {
        const vocabulary::key *known = vocabulary::find_key(name);
        const char *secret = json_object_get_string(value);
        if (known == nullptr || known->secrecy != vocabulary::secrecy::secret || secret == nullptr)
            continue;
        for (effect &each : effects) {
            if (each.key != name || each.kind == stage_log || each.kind == stage_set)
                continue;
            if (std::string without = masked(each.subject, secret); without != each.subject)
                each.masked = std::move(without);
        }
    }
}

// The members that the changes were made for, and what of them a service code would decide.
void attribute(std::vector<option_change> &changes, const std::vector<effect> &effects,
               const snapshot &device) {
    for (option_change &change : changes)
        for (const effect &each : effects)
            if (each.done && each.kind == stage_set && each.subject == change.path) {
                change.key = each.key;
                change.unforeseen = is_digest(each) && !device.service_code;
            }
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

// JSON holds only UTF-8 texts, an option any bytes.
void note_replacements(const request_plan &made, std::vector<std::string> &notes) {
    for (const std::vector<option_change> *list : {&made.changes, &made.uncommitted})
        for (const option_change &each : *list)
            if (!apid::is_utf8(each.from.value_or("")) || !apid::is_utf8(each.to.value_or("")))
                notes.push_back(each.path + " holds bytes that are no UTF-8: in JSON U+FFFD stands for them");
}

std::vector<std::string> notes_of(const request_plan &made, const snapshot &device) {
    std::vector<std::string> notes;
    for (const effect &each : made.effects)
        if (each.unforeseen)
            notes.push_back("only the router's shell could tell what this comes to: " +
                            (each.masked.empty() ? each.subject : each.masked));
    if (std::ranges::any_of(made.effects, is_digest) && !device.service_code)
        notes.emplace_back("the service code is not known: the password's digest will be another one");
    note_replacements(made, notes);
    return notes;
}

std::vector<std::pair<std::string, std::string>> writes_of(const std::vector<effect> &effects) {
    std::vector<std::pair<std::string, std::string>> writes;
    for (const effect &each : effects)
        if (each.kind == stage_set)
            writes.emplace_back(each.subject, each.value);
    return writes;
}

// Whether the request would write something else if the settings had been read in full before, or had not.
// The stage is left with the device.
bool depends_on_full_read(rehearsal &stage, const snapshot &device, const route &asked, json_object *request,
                          const request_plan &made) {
    if (json_object_object_length(request) == 0 || !stage.changes_bands())
        return false;
    snapshot other = device;
    other.full_read_done = !device.full_read_done;
    stage.set_device(other);
    stage.play(asked.handler, request);
    std::vector<effect> theirs;
    for (const stage_effect &each : stage.effects())
        theirs.push_back(kept(each));
    stage.set_device(device);
    return writes_of(made.effects) != writes_of(theirs);
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
    made.reads = asked.method == "get";
    stage.set_device(device);
    const stage_result result = stage.play(asked.handler, request);
    made.result = result.result;
    made.response = answer_of(result.response);
    const bool is_whole_answer =
        apid::is_utf8(json_object_to_json_string_ext(result.response, JSON_C_TO_STRING_PLAIN));
    made.seconds = stage_seconds();
    for (const stage_effect &each : stage.effects())
        made.effects.push_back(kept(each));
    made.changes = stage.options().committed_changes();
    made.uncommitted = stage.options().recorded_changes();
    attribute(made.changes, made.effects, device);
    attribute(made.uncommitted, made.effects, device);
    mask_secrets(made.effects, request);
    made.radios_on = radios_on(stage.options().committed("wireless"));
    made.then = end_of(made.effects);
    made.notes = notes_of(made, device);
    if (!is_whole_answer)
        made.notes.emplace_back("the answer holds bytes that are no UTF-8: U+FFFD stands for them");
    if (explained)
        made.keys = outcomes_of(stage, device, asked, request, made);
    if (depends_on_full_read(stage, device, asked, request, made))
        made.notes.push_back(bands_note("this plan", device));
    return made;
}

} // namespace plan
