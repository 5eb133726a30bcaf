// SPDX-License-Identifier: Apache-2.0
// Snapshots from a device's files.
#include "devkit/uci/text.h"
#include "tools/plan/snapshot.h"
#include "tools/plan/uci_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

namespace plan {

namespace {

constexpr std::string_view config_folder = "etc/config/";
constexpr std::string_view delta_folder = "tmp/.uci/";
constexpr std::string_view device_folder = "etc/device/";
constexpr std::string_view companion_package = "xwf";

// Others that the plug-in looks at, which stay files in the snapshot.
constexpr std::array<std::string_view, 3> others{"etc/wbf/customer", "tmp/reboot_flag",
                                                 "tmp/tertf/tertfinfo_bak"};

std::optional<std::string> first_line(const file_map &files, std::string_view path) {
    const auto found = files.find(std::string(path));
    if (found == files.end())
        return std::nullopt;
    return found->second.substr(0, found->second.find_first_of("\r\n"));
}

std::optional<std::string> fact(const file_map &files, std::string_view name) {
    return first_line(files, std::string(device_folder) + std::string(name));
}

// Whether it is named as a firmware names its packages, and not as editors and people name copies of them.
bool is_ordinary(std::string_view name) {
    return std::ranges::all_of(name,
                               [](unsigned char c) { return std::isalnum(c) != 0 || c == '_' || c == '-'; });
}

// Nothing for a file that does not parse and has an odd name: `uci` passes over it too.
std::optional<uci::package> read_package(const std::string &path, const std::string &text) {
    const std::string name = path.substr(config_folder.size());
    try {
        return parse_package(name, text);
    } catch (const input_error &problem) {
        if (!is_ordinary(name))
            return std::nullopt;
        throw input_error(path + ": " + problem.what());
    }
}

bool is_in(std::string_view folder, std::string_view path) {
    return path.starts_with(folder) && uci::is_package_name(path.substr(folder.size()));
}

void read_configuration(const file_map &files, snapshot &out) {
    size_t size = 0;
    for (const auto &[path, text] : files) {
        if (is_in(config_folder, path)) {
            size += text.size();
            if (size > configuration_limit)
                throw input_error("the configuration is larger than " + std::to_string(configuration_limit) +
                                  " bytes");
            if (std::optional<uci::package> content = read_package(path, text))
                out.packages.push_back(std::move(*content));
        } else if (is_in(delta_folder, path)) {
            const std::string name = path.substr(delta_folder.size());
            out.changes[name] = uci::parse_delta(name, text).changes;
        }
    }
    if (out.packages.empty())
        throw input_error("there is no file in " + std::string(config_folder));
}

// The model that the device names, or else the given one. They must agree.
std::string model_of(const file_map &files, const std::string &given) {
    const std::string own = fact(files, "model_name").value_or(first_line(files, "model").value_or(""));
    if (!own.empty() && !given.empty() && own != given)
        throw input_error("this is a " + own + ", not a " + given);
    if (own.empty() && given.empty())
        throw input_error("it does not say its model: --model does");
    return own.empty() ? given : own;
}

void read_companion(const file_map &files, snapshot &out) {
    if (std::ranges::find(out.packages, companion_package, &uci::package::name) != out.packages.end()) {
        out.companion = companion_state::installed;
    } else if (const std::optional<std::string> delay = fact(files, "xwf_delay")) {
        out.companion = companion_state::starting;
        std::from_chars(delay->data(), delay->data() + delay->size(), out.companion_seconds);
    }
}

} // namespace

bool is_of_use(std::string_view path) {
    return path == "model" || is_in(config_folder, path) || is_in(delta_folder, path) ||
           (path.starts_with(device_folder) &&
            path.find('/', device_folder.size()) == std::string_view::npos) ||
           std::ranges::find(others, path) != others.end();
}

snapshot from_files(const file_map &files, const std::string &model) {
    snapshot result;
    result.model = model_of(files, model);
    read_configuration(files, result);
    result.service_code = fact(files, "service_code");
    result.ddns_name = fact(files, "ddns_name").value_or("");
    result.repeater = fact(files, "repeater") == "1";
    if (const auto pings = files.find(std::string(device_folder) + "ping"); pings != files.end())
        result.internet = pings->second.find(" up\n") != std::string::npos;
    read_companion(files, result);
    for (const std::string_view path : others)
        if (const auto found = files.find(std::string(path)); found != files.end())
            result.files["/" + std::string(path)] = found->second;
    return result;
}

} // namespace plan
