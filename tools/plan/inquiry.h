// SPDX-License-Identifier: Apache-2.0
// Asks of one device and request what would come of another value, another device or another request.
#pragma once

#include "tools/plan/json.h"
#include "tools/plan/plan.h"

#include <string>
#include <vector>

namespace plan {

// Whether an effect is one that a key was sent for; what is only asked, logged or made durable is not.
bool is_intended(const stage_effect &each);

class inquiry {
public:
    // To be made right after the play that `made` was taken from.
    inquiry(rehearsal &stage, const snapshot &device, const route &asked, json_object *request,
            const request_plan &made);

    const snapshot &device() const { return device_; }
    const request_plan &made() const { return made_; }
    json_object *request() const { return request_; }
    bool is_reading() const { return route_.method == "get"; }

    // Whether the route has looked at the member, and all that it has looked at.
    bool is_asked_for(std::string_view key) const;
    std::vector<std::string> known_keys() const { return {asked_for_.begin(), asked_for_.end()}; }

    // The rows of the key that the route has come to; none when the key is in no table.
    std::vector<const batch_entry *> rows_of(const std::string &key) const;

    // The option's own name, for comparing paths.
    std::string resolve(const std::string &path) { return stage_.options().resolve(path); }

    // The request with another value of the key, or without it.
    json_owner with(const std::string &key, json_object *value) const;
    json_owner without(const std::vector<std::string> &keys) const;

    // Whether something comes of the key of this request.
    bool has_effect(const std::string &key, json_object *request, const variation &other = {});
    bool has_effect(const std::string &key, const std::string &text, const variation &other = {});

    // Whether the route would look at the member on another device.
    bool would_be_asked_for(const std::string &key, const variation &other);

    // What this device lacks of what the key would write to on the other one, in words; "" for nothing.
    std::string lack_of(const std::string &key, json_object *request, const variation &other);

    // What kept the key from being written although the route tried to, in words; "" for nothing.
    std::string failure_of(const std::string &key);

    // The keys of this request whose rows have effects.
    std::vector<std::string> effective_keys(json_object *request);

    // Whether the route does and answers anything else than for the request itself.
    bool differs(json_object *request, const variation &other = {});

    // The result for another request, and the effects that the request itself has and this one has not.
    int result_of(json_object *request, const variation &other = {});
    std::vector<const effect *> missing_from(json_object *request);

    // Whether the plug-in's own check accepts the text.
    static bool matches(const char *pattern, const std::string &text);

private:
    struct trace {
        uint64_t signature = 0;
        int result = 0;
        std::string response; // of a reading route only
        auto operator<=>(const trace &) const = default;
    };
    trace play(json_object *request, const variation &other);
    bool is_attributed(const std::string &key) const;

    rehearsal &stage_;
    const snapshot &device_;
    const route &route_;
    json_object *request_;
    const request_plan &made_;
    trace own_;
    std::vector<const char *> asked_for_;
    std::vector<const batch_entry *> rows_;
};

} // namespace plan
