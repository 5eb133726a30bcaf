// SPDX-License-Identifier: Apache-2.0
// A device at one moment: everything that decides what a request does to it.
#pragma once

#include "devkit/uci/delta.h"
#include "devkit/uci/package.h"

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct json_object;

namespace plan {

// Input that is refused, in words for the user.
struct input_error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class companion_state {
    absent,    // the companion package is not there, and does not come
    installed, // it is there
    starting,  // it comes `companion_seconds` after a handler has begun to wait for it
};

struct snapshot {
    std::string id; // JSON text, given back with the plan; "" for none
    std::string model;
    std::optional<std::string> service_code; // unknown: of a stored password only that it changes can be told
    std::string ddns_name;
    bool repeater = false;
    bool internet = true;
    bool reboot_pending = false; // `batch_status` is 0
    bool full_read_done = false; // a falcon's keys are swapped
    companion_state companion = companion_state::absent;
    unsigned companion_seconds = 1;
    std::vector<uci::package> packages;                      // as they are committed
    std::map<std::string, std::vector<uci::change>> changes; // recorded for a package, but not committed
    std::map<std::string, std::string> files; // others than the configuration, by absolute path
};

// The most that is taken of one device; whatever is larger is refused.
inline constexpr size_t configuration_limit = size_t{256} << 10; // bytes of all packages
inline constexpr size_t file_limit = size_t{1} << 20;            // bytes of any other file

// From an object as a stream has it on a line. Without "uci" it has the configuration of its model as that
// leaves the factory; a member that the object lacks is as on a device fresh from there. Throws input_error.
snapshot from_json(json_object *object);

// The same from text. `model` is that of a text that names none; "" for none.
snapshot from_json_text(std::string_view text, const std::string &model = "");

// From what a folder, a backup or a `uci export` holds.
snapshot from_path(const std::string &path, const std::string &model);

// A device of this model fresh from the factory; nothing for a model without a profile.
std::optional<snapshot> from_factory(std::string_view model);

// From files by path, relative to the device's root: what is needed of a device's file system.
using file_map = std::map<std::string, std::string>;
snapshot from_files(const file_map &files, const std::string &model);

// Whether from_files has a use for the file at this path.
bool is_of_use(std::string_view path);

// The snapshot as one JSON object, without a line end. In a text that is no UTF-8 other bytes become U+FFFD.
std::string to_json(const snapshot &device);

// The options and files of which to_json does not give all bytes.
std::vector<std::string> replaced_in_json(const snapshot &device);

} // namespace plan
