// SPDX-License-Identifier: Apache-2.0
// What a request would do to a device.
#pragma once

#include "tools/plan/rehearsal.h"

#include <string>
#include <vector>

namespace plan {

enum class outcome {
    changed, // an option ends with another value
    same,    // written, but every option had that value
    applied, // an effect that is no option: a file, an account, a driver, a command, a part of the answer
    refused, // another value would have had an effect here and now
    ignored, // the model has the key, but no value would have an effect here and now
    unknown, // the route never looks at it on this model
};

enum class reason {
    none,
    check,
    too_long,
    too_short,
    level,
    type,
    unset,
    repeater,
    overridden,
    never,
    other
};

const char *to_text(outcome value);
const char *to_text(reason value); // "" for none

// Whether `check` reports it.
bool is_finding(outcome value);

struct key_outcome {
    std::string key;
    plan::outcome outcome = outcome::unknown;
    plan::reason reason = reason::none;
    std::string message;    // the reason in one short sentence, without a full stop
    std::string suggestion; // the nearest known key
};

// An effect, its texts kept. What a text of the stage means for each kind stands in
// devkit/rehearsal/effects.h.
struct effect {
    stage_kind kind;
    bool done; // false: it was tried in vain
    std::string subject, parameter, value, key;
    int number = 0;
    bool unforeseen = false; // what the command answers and does is not known here
    std::string masked{};    // the subject with "***" for the request's secrets; "" when it holds none
};

struct route {
    std::string path;
    std::string method;
    stage_handler *handler = nullptr;
};

// The route of this path, or of its last word: "batch_set". Throws input_error, which names what there is.
route find_route(const std::string &name);

struct request_plan {
    std::string id; // JSON text; "" for none
    std::string model;
    std::string route;
    bool reads = false; // the route is one that reads
    int result = 0;
    std::string response; // JSON text
    std::vector<key_outcome> keys;
    std::vector<option_change> changes;
    std::vector<option_change> uncommitted;
    std::vector<effect> effects;
    const char *then = "none";      // "reboot", "restart", "notify" or "none"
    int radios_on = 0;              // radios that are on and carry a network that is on, at the end
    int seconds = 0;                // how long the handler itself waits
    std::vector<std::string> notes; // what cannot be foreseen, in sentences without a full stop
};

// explained: with the outcomes of the keys, which take further plays.
request_plan make_plan(rehearsal &stage, const snapshot &device, const route &asked, json_object *request,
                       bool explained = true);

// As the documents show it, without a line end.
std::string to_json(const request_plan &made);

} // namespace plan
