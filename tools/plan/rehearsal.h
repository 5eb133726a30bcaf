// SPDX-License-Identifier: Apache-2.0
// Plays requests on a device, again and again from the same state.
#pragma once

#include "devkit/rehearsal/stage.h"
#include "tools/plan/companion.h"
#include "tools/plan/configuration.h"
#include "tools/plan/snapshot.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct json_object;

namespace plan {

// What is other than on the device.
struct variation {
    bool repeater_down = false;
    bool internet_up = false;
    bool factory = false;            // configured as its model leaves the factory, where that is known
    std::vector<std::string> filled; // these options hold something

    auto operator<=>(const variation &) const = default;
};

// There is one in a process, as there is one stage.
class rehearsal {
public:
    // Throws input_error when a plug-in cannot be used. companion: the file of the companion plug-in; "" for
    // none.
    rehearsal(const std::string &plugin, const std::string &companion);
    rehearsal(const rehearsal &) = delete;
    rehearsal &operator=(const rehearsal &) = delete;

    // What follows is played on this device, which must stay.
    void set_device(const snapshot &device);

    // Plays the request from the device's own state. The result and the effects are good until the next play.
    stage_result play(stage_handler *handler, json_object *request, const variation &other = {});

    // Plays one more request, on what the last play left behind.
    stage_result play_on(stage_handler *handler, json_object *request);

    std::span<const stage_effect> effects() const;

    // A number that two plays with the same effects share. The log says what was sent, and does not count,
    // nor does what was tried in vain.
    uint64_t signature() const;

    // Whether keys of the device's model change bands with its first full read. Ends what play has left
    // behind.
    bool changes_bands();

    configuration &options() { return options_; }

    // The members of the request that the last play has asked for, again and again where it has. The names
    // are the plug-in's own.
    const std::vector<const char *> &asked_for() const { return asked_for_; }

private:
    void put_files(const snapshot &device);
    void vary(const variation &other);
    const std::vector<uci::package> &factory_packages();

    configuration options_;
    companion_plugin companion_;
    const snapshot *device_ = nullptr;
    std::map<std::string, std::vector<uci::package>> factory_packages_; // of the models that were asked for
    std::map<std::string, bool> changes_bands_;                         // by model
    stage_device facts_{};
    std::vector<const char *> asked_for_;
};

} // namespace plan
