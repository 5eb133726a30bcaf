// SPDX-License-Identifier: Apache-2.0
// Snapshots as JSON objects, and as text that may be one.
#include "devkit/apid/text.h"
#include "devkit/uci/format.h"
#include "tools/plan/comparison.h"
#include "tools/plan/factory.h"
#include "tools/plan/json.h"
#include "tools/plan/snapshot.h"
#include "tools/plan/suggestion.h"
#include "tools/plan/uci_text.h"

#include <algorithm>
#include <array>

namespace plan {

namespace {

constexpr std::string_view delta_folder = "/tmp/.uci/";
constexpr std::string_view companion_package = "xwf";
constexpr std::array companion_names{"absent", "installed", "starting"};

// Every member that says something of a device, and what only a stream's lines have.
constexpr std::array members{"id",
                             "model",
                             "uci",
                             "service_code",
                             "ddns_name",
                             "repeater",
                             "internet",
                             "files",
                             "reboot_pending",
                             "full_read_done",
                             "companion",
                             "companion_seconds",
                             "request",
                             "route"};

[[noreturn]] void refuse(const std::string &member, const std::string &reason) {
    throw input_error("\"" + member + "\" " + reason);
}

// The member; null when it is missing or JSON null.
json_object *member(json_object *object, const char *name) {
    json_object *found = nullptr;
    json_object_object_get_ex(object, name, &found);
    return found;
}

// Text that ends up in C strings.
std::string text(json_object *value, const char *name) {
    if (!json_object_is_type(value, json_type_string))
        refuse(name, "must be a string");
    const std::string_view result = text_of(value);
    if (result.find('\0') != std::string_view::npos)
        refuse(name, "must not hold a NUL");
    return std::string(result);
}

void read_flag(json_object *object, const char *name, bool &out) {
    json_object *value = member(object, name);
    if (value == nullptr)
        return;
    if (!json_object_is_type(value, json_type_boolean))
        refuse(name, "must be true or false");
    out = json_object_get_boolean(value) != 0;
}

void read_id(json_object *object, snapshot &out) {
    json_object *value = member(object, "id");
    if (value == nullptr)
        return;
    if (json_object_is_type(value, json_type_object) || json_object_is_type(value, json_type_array))
        refuse("id", "must be a string or a number");
    out.id = json_object_to_json_string_ext(value, JSON_C_TO_STRING_PLAIN);
}

void read_companion(json_object *object, snapshot &out) {
    if (json_object *value = member(object, "companion")) {
        const auto found = std::ranges::find(companion_names, text(value, "companion"));
        if (found == companion_names.end())
            refuse("companion", "must be \"absent\", \"installed\" or \"starting\"");
        out.companion = static_cast<companion_state>(found - companion_names.begin());
    }
    if (json_object *value = member(object, "companion_seconds")) {
        const int64_t seconds = json_object_get_int64(value);
        if (!json_object_is_type(value, json_type_int) || seconds < 0 || seconds > 3600)
            refuse("companion_seconds", "must be a number from 0 to 3600");
        out.companion_seconds = static_cast<unsigned>(seconds);
    }
}

void read_files(json_object *object, snapshot &out) {
    json_object *files = member(object, "files");
    if (files == nullptr)
        return;
    if (!json_object_is_type(files, json_type_object))
        refuse("files", "must be an object of texts");
    json_object_object_foreach(files, path, content) {
        if (path[0] != '/' || !json_object_is_type(content, json_type_string))
            refuse("files", "must hold texts under absolute paths");
        if (std::string_view(path).starts_with(delta_folder)) {
            const std::string package = path + delta_folder.size();
            out.changes[package] = uci::parse_delta(package, text_of(content)).changes;
        } else {
            out.files[path] = text_of(content);
        }
    }
}

// A misspelled member would be left out in silence. Others are the sender's own affair.
void expect_known_members(json_object *object) {
    json_object_object_foreach(object, name, value) {
        static_cast<void>(value);
        if (std::ranges::find(members, std::string_view(name)) != members.end())
            continue;
        const std::vector<std::string> known(members.begin(), members.end());
        const std::string meant = nearest(name, known);
        if (!meant.empty())
            refuse(name, "is no member of a device: \"" + meant + "\" is");
    }
}

void read_configuration(json_object *object, snapshot &out) {
    json_object *value = member(object, "uci");
    const std::string_view content = text_of(value);
    if (!json_object_is_type(value, json_type_string))
        refuse("uci", "must be the text of `uci export`");
    try {
        out.packages = parse_packages(content);
    } catch (const input_error &problem) {
        refuse("uci", std::string("is no configuration: ") + problem.what());
    }
}

bool has_package(const snapshot &device, std::string_view name) {
    return std::ranges::find(device.packages, name, &uci::package::name) != device.packages.end();
}

// The companion is there when its package is, and the other way round.
void agree_on_companion(json_object *object, snapshot &device) {
    const bool has_configuration = has_package(device, companion_package);
    if (member(object, "companion") == nullptr && has_configuration)
        device.companion = companion_state::installed;
    else if (device.companion == companion_state::installed && !has_configuration)
        device.packages.push_back({std::string(companion_package), {}});
    else if (device.companion != companion_state::installed && has_configuration)
        refuse("companion", "must be \"installed\": \"uci\" has its package");
}

std::string export_of(const std::vector<uci::package> &packages) {
    std::string result;
    for (const uci::package &each : packages)
        result += uci::to_export(each, false);
    return result;
}

void append_member(std::string &out, const char *name, std::string_view value) {
    out += out.size() > 1 ? ", " : "";
    append_json(out, name);
    out += ": ";
    append_json(out, value);
}

void append_flag(std::string &out, const char *name, bool value) {
    out += std::string(", \"") + name + (value ? "\": true" : "\": false");
}

std::map<std::string, std::string> all_files(const snapshot &device) {
    std::map<std::string, std::string> files = device.files;
    for (const auto &[package, changes] : device.changes)
        for (const uci::change &each : changes)
            files[std::string(delta_folder) + package] += uci::to_line(package, each);
    return files;
}

} // namespace

snapshot from_json(json_object *object) {
    if (!json_object_is_type(object, json_type_object))
        throw input_error("a device is a JSON object");
    expect_known_members(object);
    snapshot result;
    json_object *model = member(object, "model");
    if (model == nullptr || (result.model = text(model, "model")).empty())
        throw input_error("\"model\" is missing");
    if (member(object, "uci") == nullptr) {
        std::optional<snapshot> factory = from_factory(result.model);
        if (!factory)
            throw input_error("\"uci\" is missing, and there is no profile of a " + result.model);
        result = std::move(*factory);
    } else {
        read_configuration(object, result);
    }
    read_id(object, result);
    if (json_object *value = member(object, "service_code"))
        result.service_code = text(value, "service_code");
    if (json_object *value = member(object, "ddns_name"))
        result.ddns_name = text(value, "ddns_name");
    read_flag(object, "repeater", result.repeater);
    read_flag(object, "internet", result.internet);
    read_flag(object, "reboot_pending", result.reboot_pending);
    read_flag(object, "full_read_done", result.full_read_done);
    read_companion(object, result);
    read_files(object, result);
    agree_on_companion(object, result);
    return result;
}

std::optional<snapshot> from_factory(std::string_view model) {
    static std::map<std::string, snapshot, std::less<>> read;
    if (const auto known = read.find(model); known != read.end())
        return known->second;
    for (const factory_profile &each : factory_profiles())
        if (each.model == model)
            return read.emplace(model, from_json(parse_json(each.snapshot, json_use::device).get()))
                .first->second;
    return std::nullopt;
}

std::vector<std::string> replaced_in_json(const snapshot &device) {
    std::vector<std::string> names;
    std::vector<option_change> options;
    for (const uci::package &each : device.packages)
        compare(nullptr, &each, {}, options);
    for (const option_change &each : options)
        if (!apid::is_utf8(*each.to))
            names.push_back(each.path);
    for (const auto &[path, content] : all_files(device))
        if (!apid::is_utf8(content))
            names.push_back(path);
    return names;
}

std::string to_json(const snapshot &device) {
    std::string out = "{";
    if (!device.id.empty())
        out += "\"id\": " + device.id;
    append_member(out, "model", device.model);
    append_member(out, "uci", export_of(device.packages));
    if (device.service_code)
        append_member(out, "service_code", *device.service_code);
    append_member(out, "ddns_name", device.ddns_name);
    append_flag(out, "repeater", device.repeater);
    append_flag(out, "internet", device.internet);
    append_flag(out, "reboot_pending", device.reboot_pending);
    append_flag(out, "full_read_done", device.full_read_done);
    append_member(out, "companion", companion_names.at(static_cast<size_t>(device.companion)));
    if (device.companion == companion_state::starting)
        out += ", \"companion_seconds\": " + std::to_string(device.companion_seconds);
    std::string files = "{";
    for (const auto &[path, content] : all_files(device))
        append_member(files, path.c_str(), content);
    return out + ", \"files\": " + files + "}}";
}

} // namespace plan
