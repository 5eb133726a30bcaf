// SPDX-License-Identifier: Apache-2.0
// The batch that gives a device its settings back, and what no batch can give back.
#pragma once

#include "tools/plan/json.h"
#include "tools/plan/rehearsal.h"

#include <string>
#include <vector>

namespace plan {

// An option that a push can change and the export does not restore.
struct lost_option {
    std::string path;
    std::string key; // whose push changes it
    std::string why; // without a full stop
};

struct settings_export {
    json_owner batch; // one object, to be sent to "/cloud/aerolink/batch_set"
    std::vector<lost_option> lost;
    std::vector<std::string> notes; // in sentences without a full stop
};

// Everything is found by rehearsing pushes on the device: a member is taken when it changes nothing here, and
// brings the device back after every other acceptable value of its key. What is recorded on the device and
// not committed counts as committed, as every push commits it. An option that a push has emptied is gone for
// good: no export brings that back.
settings_export export_settings(rehearsal &stage, const snapshot &device);

// As a person reads it: the batch for standard output, the rest for standard error.
std::string batch_as_text(const settings_export &made);
std::string lost_as_text(const settings_export &made);

// Both as one JSON object, with a line end.
std::string to_json(const settings_export &made, const snapshot &device);

} // namespace plan
