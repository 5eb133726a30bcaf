// SPDX-License-Identifier: Apache-2.0
// Which kind of snapshot a path leads to.
#include "tools/plan/json.h"
#include "tools/plan/open_file.h"
#include "tools/plan/sources.h"
#include "tools/plan/uci_text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace plan {

namespace {

constexpr size_t source_limit = size_t{16} << 20; // bytes of a backup or a text
constexpr std::string_view gzip_mark = "\x1f\x8b";
constexpr size_t tar_mark_place = 257;
constexpr std::string_view tar_mark = "ustar";

bool is_backup(std::string_view content) {
    return content.starts_with(gzip_mark) ||
           (content.size() > tar_mark_place && content.substr(tar_mark_place).starts_with(tar_mark));
}

bool is_object(std::string_view content) {
    const size_t first = content.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && content[first] == '{';
}

std::string content_of(const std::string &path) {
    const descriptor file(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file)
        throw input_error(std::strerror(errno));
    std::optional<std::string> content = read_all(file, source_limit);
    if (!content)
        throw input_error("larger than " + std::to_string(source_limit) + " bytes");
    return std::move(*content);
}

snapshot from_content(std::string_view content, const std::string &model) {
    if (is_backup(content))
        return from_backup(content, model);
    return is_object(content) ? from_json_text(content, model) : from_export(content, model);
}

} // namespace

snapshot from_export(std::string_view text, const std::string &model) {
    if (model.empty())
        throw input_error("an export does not say its model: --model does");
    snapshot result;
    result.model = model;
    try {
        result.packages = parse_packages(text);
    } catch (const input_error &problem) {
        throw input_error(std::string("no `uci export`: ") + problem.what());
    }
    if (result.packages.empty())
        throw input_error("there is no configuration in it");
    if (std::ranges::find(result.packages, "xwf", &uci::package::name) != result.packages.end())
        result.companion = companion_state::installed;
    return result;
}

snapshot from_json_text(std::string_view text, const std::string &model) {
    const json_owner object = parse_json(text, json_use::device);
    json_object *own = nullptr;
    if (!model.empty() && json_object_is_type(object.get(), json_type_object) &&
        !json_object_object_get_ex(object.get(), "model", &own))
        json_object_object_add(object.get(), "model", json_object_new_string(model.c_str()));
    snapshot result = from_json(object.get());
    if (!model.empty() && result.model != model)
        throw input_error("this is a " + result.model + ", not a " + model);
    return result;
}

snapshot from_path(const std::string &path, const std::string &model) {
    struct stat status {};
    try {
        const bool is_folder = stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
        return is_folder ? from_folder(path, model) : from_content(content_of(path), model);
    } catch (const input_error &problem) {
        throw input_error(path + ": " + problem.what());
    }
}

} // namespace plan
