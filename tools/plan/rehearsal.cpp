// SPDX-License-Identifier: Apache-2.0
// Plays requests on a device, again and again from the same state.
#include "tools/plan/rehearsal.h"

#include "tools/plan/factory.h"
#include "tools/plan/json.h"
#include "tools/plan/plugin_file.h"

#include <cstring>

#include <sha256.h>

namespace plan {

namespace {

constexpr const char *time_zone_file = "/usr/share/zoneinfo/tzdata.lua";
constexpr const char *companion_file = "/etc/config/xwf";
constexpr const char *full_read_route = "/cloud/aerolink/batch_get";
constexpr const char *filling = "1"; // what a filled option holds: anything
constexpr size_t models_limit = 256; // of which something is kept
constexpr const bool repeater_up = true;

int digest(const char *text, char *output) {
    SHA256Data(reinterpret_cast<const uint8_t *>(text), std::strlen(text), output);
    return 0;
}

class hash {
public:
    void add(const char *text) {
        for (; text != nullptr && *text != '\0'; ++text)
            step(static_cast<unsigned char>(*text));
        step(text == nullptr ? 256 : 257);
    }
    void add(int number) { step(static_cast<uint64_t>(number) + 1024); }
    uint64_t value() const { return value_; }

private:
    void step(uint64_t next) { value_ = (value_ ^ next) * 1099511628211U; }
    uint64_t value_ = 14695981039346656037U;
};

void read_in_full() {
    const json_owner nothing(json_object_new_object());
    stage_play(stage_route("get", full_read_route), nothing.get());
}

} // namespace

rehearsal::rehearsal(const std::string &plugin, const std::string &companion) : companion_(companion) {
    load_plugin(plugin);
    size_t count = 0;
    const stage_table *tables = stage_tables(&count);
    for (const stage_table &table : std::span(tables, count))
        for (const batch_entry &row : std::span(table.rows, table.row_count))
            options_.know_row(row);
}

void rehearsal::put_files(const snapshot &device) {
    stage_put_file(time_zone_file, time_zone_table.data(), time_zone_table.size());
    for (const uci::package &each : device.packages)
        stage_put_file(("/etc/config/" + each.name).c_str(), "", 0);
    for (const auto &[path, content] : device.files)
        stage_put_file(path.c_str(), content.data(), content.size());
    if (device.companion == companion_state::starting)
        stage_put_late_file(companion_file, static_cast<int>(device.companion_seconds));
}

void rehearsal::set_device(const snapshot &device) {
    stage_clear();
    device_ = &device;
    facts_ = {};
    facts_.model = device.model.c_str();
    facts_.service_code = device.service_code ? device.service_code->c_str() : "";
    facts_.ddns_name = device.ddns_name.c_str();
    facts_.internet = device.internet;
    facts_.sha256 = digest;
    stage_set_device(&facts_);
    options_.load(device);
    const stage_uci functions = options_.functions();
    stage_set_uci(&functions);
    stage_set_dispatcher(
        [](void *self, const char *path, json_object *request, json_object *response) {
            rehearsal &own = *static_cast<rehearsal *>(self);
            own.options_.create_package("xwf");
            return own.companion_.run(path, request, response);
        },
        this);
    stage_set_listener(
        [](void *self, const char *member) { static_cast<rehearsal *>(self)->asked_for_.push_back(member); },
        this);
    stage_set_acting(true);
    put_files(device);
    if (device.full_read_done)
        read_in_full();
    if (device.reboot_pending)
        *stage_integers()->batch_status = 0;
    stage_mark();
}

const std::vector<uci::package> &rehearsal::factory_packages() {
    const auto [known, is_new] = factory_packages_.try_emplace(device_->model);
    if (is_new)
        if (std::optional<snapshot> fresh = from_factory(device_->model))
            known->second = std::move(fresh->packages);
    return known->second;
}

void rehearsal::vary(const variation &other) {
    const bool up = device_->repeater && !other.repeater_down;
    stage_set_repeater(&repeater_up, up ? 1 : 0);
    if (facts_.internet != (device_->internet || other.internet_up)) {
        facts_.internet = device_->internet || other.internet_up;
        stage_set_device(&facts_);
    }
    if (other.factory)
        for (const uci::package &each : factory_packages())
            options_.put_package(each);
    for (const std::string &path : other.filled)
        options_.fill(path, filling);
}

stage_result rehearsal::play(stage_handler *handler, json_object *request, const variation &other) {
    stage_put_back();
    vary(other);
    asked_for_.clear();
    return stage_play(handler, request);
}

bool rehearsal::changes_bands() {
    if (changes_bands_.size() > models_limit)
        changes_bands_.clear();
    const auto [known, is_new] = changes_bands_.try_emplace(device_->model);
    if (is_new) {
        stage_put_back();
        read_in_full();
        known->second = *stage_integers()->falcon_2g_5g_swap_done != 0;
        stage_put_back();
    }
    return known->second;
}

stage_result rehearsal::play_on(stage_handler *handler, json_object *request) {
    asked_for_.clear();
    return stage_play(handler, request);
}

std::span<const stage_effect> rehearsal::effects() const {
    size_t count = 0;
    const stage_effect *all = stage_effects(&count);
    return {all, count};
}

uint64_t rehearsal::signature() const {
    hash result;
    for (const stage_effect &each : effects()) {
        if (each.kind == stage_log || each.outcome != stage_done)
            continue;
        result.add(static_cast<int>(each.kind));
        result.add(each.subject);
        result.add(each.parameter);
        result.add(each.value);
        result.add(each.number);
    }
    return result.value();
}

} // namespace plan
