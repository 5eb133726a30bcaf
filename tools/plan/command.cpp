// SPDX-License-Identifier: Apache-2.0
// The commands `plan`, `check`, `export` and `snapshot`.
#include "tools/plan/command.h"

#include "tools/export/settings_export.h"
#include "tools/front/commands.h"
#include "tools/plan/factory.h"
#include "tools/plan/options.h"
#include "tools/plan/plan.h"
#include "tools/plan/plan_text.h"
#include "tools/plan/repeated.h"
#include "tools/plan/stream.h"
#include "tools/plan/suggestion.h"

#include <algorithm>
#include <cstdio>

#include <unistd.h>

using namespace plan;

namespace {

[[noreturn]] void refuse_model(const std::string &model) {
    std::vector<std::string> known;
    std::string names;
    for (const factory_profile &each : factory_profiles()) {
        known.emplace_back(each.model);
        names += (names.empty() ? "" : ", ") + known.back();
    }
    const std::string meant = nearest(model, known);
    throw input_error("there is no profile of a model " + model +
                      (meant.empty() ? "; there are " + names : ": did you mean " + meant + "?"));
}

std::vector<snapshot> devices_of(const plan_options &chosen) {
    if (!chosen.device.empty())
        return {from_path(chosen.device, chosen.model)};
    if (!chosen.model.empty()) {
        std::optional<snapshot> device = from_factory(chosen.model);
        if (!device)
            refuse_model(chosen.model);
        return {std::move(*device)};
    }
    std::vector<snapshot> all;
    for (const factory_profile &each : factory_profiles())
        all.push_back(*from_factory(each.model));
    return all;
}

void print(const std::string &text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw input_error("standard output cannot be written");
}

bool has_finding(const request_plan &made) {
    return std::ranges::any_of(made.keys, [](const key_outcome &each) { return is_finding(each.outcome); });
}

void show(const plan_options &chosen, const std::vector<request_plan> &plans) {
    if (!chosen.checking && !chosen.json) {
        print(to_text(plans, style_of_output()));
        return;
    }
    for (const request_plan &each : plans)
        print(!chosen.checking ? to_json(each) + "\n"
              : chosen.json    ? findings_as_json(each)
                               : findings_of(each));
}

int run_once(rehearsal &stage, const plan_options &chosen) {
    std::vector<std::string> repeated;
    const json_owner request = read_request(*chosen.request, repeated);
    const route asked = find_route(chosen.route);
    std::vector<request_plan> plans;
    for (const snapshot &device : devices_of(chosen))
        plans.push_back(make_plan(stage, device, asked, request.get()));
    for (request_plan &each : plans)
        tell_repeated(each, repeated, chosen.checking);
    show(chosen, plans);
    return chosen.checking && std::ranges::any_of(plans, has_finding) ? exit_finding : exit_fine;
}

int run_many(rehearsal &stage, const plan_options &chosen) {
    const stream_sum sum = run_stream(stage, chosen);
    if (sum.bad > 0)
        std::fprintf(stderr, "aerolink: no plan for %zu of %zu lines\n", sum.bad, sum.lines);
    if (sum.bad > 0)
        return exit_wrong;
    return chosen.checking && sum.found ? exit_finding : exit_fine;
}

// What a command does, with the errors of its input told.
template <typename Action>
int guarded(const char *word, Action action) {
    try {
        return action();
    } catch (const std::exception &problem) {
        std::fprintf(stderr, "aerolink %s: %s\n", word, problem.what());
        return exit_wrong;
    }
}

int run(int count, char **words) {
    return guarded(words[0], [&] {
        const plan_options chosen = parse_options(count, words);
        if (chosen.help) {
            print(chosen.checking ? check_usage : plan_usage);
            return static_cast<int>(exit_fine);
        }
        rehearsal stage(chosen.plugin, chosen.companion);
        return chosen.stream ? run_many(stage, chosen) : run_once(stage, chosen);
    });
}

} // namespace

int run_plan(int count, char **words) { return run(count, words); }

int run_check(int count, char **words) { return run(count, words); }

int run_export(int count, char **words) {
    return guarded(words[0], [&] {
        const plan_options chosen = parse_export_options(count, words);
        if (chosen.help) {
            print(export_usage);
            return static_cast<int>(exit_fine);
        }
        rehearsal stage(chosen.plugin, chosen.companion);
        const snapshot device = devices_of(chosen).front();
        const settings_export made = export_settings(stage, device);
        print(chosen.json ? to_json(made, device) : batch_as_text(made));
        if (!chosen.json)
            std::fputs(lost_as_text(made).c_str(), stderr);
        return static_cast<int>(exit_fine);
    });
}

int run_snapshot(int count, char **words) {
    return guarded(words[0], [&] {
        const plan_options chosen = parse_snapshot_options(count, words);
        if (chosen.help) {
            print(snapshot_usage);
            return static_cast<int>(exit_fine);
        }
        for (const snapshot &each : devices_of(chosen)) {
            print(to_json(each) + "\n");
            for (const std::string &name : replaced_in_json(each))
                std::fprintf(stderr,
                             "aerolink snapshot: %s holds bytes that are no UTF-8: U+FFFD stands for them\n",
                             name.c_str());
        }
        return static_cast<int>(exit_fine);
    });
}
