// SPDX-License-Identifier: Apache-2.0
// How a request names what it is about: "package[.section[.option]][=value]".
#include "devkit/uci/path.h"

#include "devkit/uci/error.h"
#include "devkit/uci/package.h"
#include "devkit/uci/text.h"

namespace uci {

namespace {

// Cuts the text at the first such mark from a place on; what follows the mark, nothing when there is none.
std::optional<std::string> cut(std::string &text, char mark, size_t from = 0) {
    const size_t at = text.find(mark, from);
    if (at == std::string::npos)
        return std::nullopt;
    std::string rest = text.substr(at + 1);
    text.resize(at);
    return rest;
}

// Where the file's own name begins in a path that begins with a file; 0 for a package's name. A type in a
// selector may hold a "/" too.
size_t file_name_begin(std::string_view text) {
    const size_t first = text.find('/');
    if (first == std::string_view::npos || (!text.starts_with("./") && first > text.find('.')))
        return 0;
    return text.substr(0, text.find(".@")).rfind('/') + 1;
}

path parse(std::string_view text, size_t name_begin) {
    path result;
    result.package = text;
    result.value = cut(result.package, '=');
    const std::optional<std::string> rest = cut(result.package, '.', name_begin);
    result.section = rest.value_or("");
    const std::optional<std::string> option = cut(result.section, '.');
    result.option = option.value_or("");
    if (!is_package_name(std::string_view(result.package).substr(name_begin)) ||
        (rest && !is_name(result.section) && !is_selector(result.section)) ||
        (option && !is_name(result.option)))
        throw parse_error();
    return result;
}

} // namespace

path parse_path(std::string_view text) { return parse(text, 0); }

path parse_file_path(std::string_view text) {
    return parse(text, file_name_begin(text.substr(0, text.find('='))));
}

std::string_view package_name(std::string_view package) { return package.substr(package.rfind('/') + 1); }

bool is_file(std::string_view package) { return package.find('/') != std::string_view::npos; }

} // namespace uci
