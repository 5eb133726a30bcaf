// SPDX-License-Identifier: Apache-2.0
// How a request names what it is about: "package[.section[.option]][=value]".
#include "devkit/uci/path.h"

#include "devkit/uci/error.h"
#include "devkit/uci/package.h"
#include "devkit/uci/text.h"

namespace uci {

namespace {

// Cuts the text at the first such mark; what follows the mark, nothing when there is none.
std::optional<std::string> cut(std::string &text, char mark) {
    const size_t at = text.find(mark);
    if (at == std::string::npos)
        return std::nullopt;
    std::string rest = text.substr(at + 1);
    text.resize(at);
    return rest;
}

} // namespace

path parse_path(std::string_view text) {
    path result;
    result.package = text;
    result.value = cut(result.package, '=');
    const std::optional<std::string> rest = cut(result.package, '.');
    result.section = rest.value_or("");
    const std::optional<std::string> option = cut(result.section, '.');
    result.option = option.value_or("");
    if (!is_package_name(result.package) ||
        (rest && !is_name(result.section) && !is_selector(result.section)) ||
        (option && !is_name(result.option)))
        throw parse_error();
    return result;
}

} // namespace uci
