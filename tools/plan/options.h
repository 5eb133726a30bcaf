// SPDX-License-Identifier: Apache-2.0
// The command line of `plan`, `check`, `export` and `snapshot`.
#pragma once

#include "tools/plan/json.h"

#include <optional>
#include <string>
#include <vector>

namespace plan {

struct plan_options {
    bool checking = false; // `check`
    bool help = false;
    bool json = false;
    bool stream = false;
    bool without_keys = false; // the effects are enough: no outcomes of keys, which take most of the time
    bool all_models = false;
    std::string model;
    std::string device;
    std::string route = "batch_set";
    std::string plugin;
    std::string companion;
    std::optional<std::string> request; // as it was given
};

extern const char *const plan_usage;
extern const char *const check_usage;
extern const char *const export_usage;
extern const char *const snapshot_usage;

// Throws input_error for what is no command line of theirs.
plan_options parse_options(int count, char **words);
plan_options parse_export_options(int count, char **words);
plan_options parse_snapshot_options(int count, char **words);

// The request: JSON text itself, the name of a file, or "-" for standard input. An object, or input_error is
// thrown. repeated: gets the members that it has more than once.
json_owner read_request(const std::string &given, std::vector<std::string> &repeated);

} // namespace plan
