// SPDX-License-Identifier: Apache-2.0
// A world for the plug-in that an input describes.
#include "tests/fuzz/world.h"

#include "devkit/rehearsal/stage.h"
#include "tests/fuzz/models.h"
#include "tests/fuzz/texts.h"

#include <json-c/json.h>

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace fuzz {

namespace {

// --- Configuration -------------------------------------------------------------------------------

// What nobody has written yet follows from the path and the salt, so that every path has a value without
// being listed.
struct configuration {
    size_t salt = 0;
    unsigned filled = 0; // of 256 options
    std::unordered_map<std::string, std::optional<std::string>> written;
};

configuration options;

size_t drawn(std::string_view path) {
    size_t hash = options.salt * 0x9e3779b97f4a7c15U + 14695981039346656037U;
    for (const char c : path)
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211U;
    return hash ^ hash >> 29U;
}

const char *get(void *, const char *path) {
    if (const auto found = options.written.find(path); found != options.written.end())
        return found->second ? found->second->c_str() : nullptr;
    const size_t choice = drawn(path);
    return choice % 256 < options.filled ? text_of(choice / 256).c_str() : nullptr;
}

bool set(void *, const char *path, const char *value) {
    options.written[path] = value;
    return true;
}

bool remove(void *context, const char *path) {
    const bool was_there = get(context, path) != nullptr;
    options.written[path] = std::nullopt;
    return was_there;
}

bool commit(void *, const char *) { return true; }
void commit_all(void *) {}
int section_count(void *, const char *package, const char *type) {
    return static_cast<int>(drawn(std::string(package) + "@" + type) % 4);
}

void set_configuration(bytes &input) {
    options.salt = input.next();
    options.filled = input.next();
    options.written.clear();
    const stage_uci uci = {nullptr, get, set, remove, commit, commit_all, section_count, nullptr, nullptr};
    stage_set_uci(&uci);
}

// --- Device and files ----------------------------------------------------------------------------

bool repeater[3];

void set_device(bytes &input) {
    const unsigned facts = input.next();
    const stage_device device = {
        models[input.below(std::size(models))],
        facts & 1U ? draw_text(input).c_str() : "HERN4017A",
        facts & 2U   ? nullptr
        : facts & 4U ? draw_text(input).c_str()
                     : "ddns",
        (facts & 8U) != 0,
        facts & 16U ? "Nov 21 10:00:00 router daemon.info apid[4]: a\nx\n\nlast" : nullptr,
        nullptr,
    };
    stage_set_device(&device);
    stage_set_acting((facts & 32U) != 0);
    for (size_t answer = 0; answer < std::size(repeater); ++answer)
        repeater[answer] = (facts >> (6 + answer % 2) & 1U) != 0;
    stage_set_repeater(repeater, std::size(repeater));
}

constexpr const char *paths[] = {
    "/etc/config/mwan3", "/etc/config/xwf", "/tmp/reboot_flag", "/tmp/dhcp.leases",
    "/etc/wbf/customer", "/tmp/TZ",         "/etc/wbf",         "/www/src/static/images/custmer.png"};

void set_file(const char *path, bytes &input) {
    switch (input.below(6)) {
    case 1: {
        const std::string &content = draw_text(input);
        stage_put_file(path, content.data(), content.size());
        break;
    }
    case 2:
        stage_put_file(path, "", 0);
        break;
    case 3:
        stage_put_link(path, draw_text(input).c_str());
        break;
    case 4:
        stage_put_late_file(path, static_cast<int>(input.below(40)));
        break;
    default:
        break;
    }
}

int dispatch(void *, const char *path, json_object *, json_object *response) {
    if (drawn(path) % 3 == 0)
        return -1;
    json_object_object_add(response, text_of(drawn(path)).c_str(),
                           json_object_new_string(text_of(drawn(path) / 7).c_str()));
    return static_cast<int>(drawn(path) % 2);
}

// Mostly none.
void set_faults(bytes &input) {
    const unsigned which = input.next();
    for (int fault = 0; fault < stage_fault_count; ++fault)
        stage_set_fault(static_cast<stage_fault>(fault), which >= 192 && (which >> (fault % 6) & 1U) != 0);
}

bool asks(const stage_effect &effect) {
    return effect.kind == stage_line || effect.kind == stage_ucireturn || effect.kind == stage_popen ||
           effect.kind == stage_system || effect.kind == stage_exec;
}

} // namespace

void set_world(bytes &input) {
    set_configuration(input);
    set_device(input);
    set_faults(input);
    for (const char *path : paths)
        set_file(path, input);
    stage_set_dispatcher(dispatch, nullptr);
}

void answer_commands(bytes &input) {
    size_t count = 0;
    const stage_effect *effects = stage_effects(&count);
    std::vector<std::string> commands;
    for (size_t at = 0; at < count; ++at)
        if (asks(effects[at]) && effects[at].subject != nullptr)
            commands.emplace_back(effects[at].subject);
    for (const std::string &command : commands) {
        if (input.flip())
            continue;
        const std::string &output = draw_text(input);
        stage_answer(command.c_str(), static_cast<int>(input.below(3)), output.data(), output.size());
    }
}

} // namespace fuzz
