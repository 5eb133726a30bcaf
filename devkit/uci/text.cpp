// SPDX-License-Identifier: Apache-2.0
// Which texts may stand where, and how a value is quoted.
#include "devkit/uci/text.h"

#include <algorithm>

namespace uci {

namespace {

bool is_printable(char c) { return c >= 33 && c <= 126; }

bool is_name_character(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

bool is_forbidden_control(char c) {
    return static_cast<unsigned char>(c) < 32 && c != '\t' && c != '\n' && c != '\r';
}

} // namespace

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool is_name(std::string_view text) { return !text.empty() && std::ranges::all_of(text, is_name_character); }

bool is_package_name(std::string_view text) {
    return is_type(text) && text.find_first_of("./") == std::string_view::npos;
}

bool is_type(std::string_view text) { return !text.empty() && std::ranges::all_of(text, is_printable); }

bool is_bare(std::string_view text) {
    return is_type(text) && text.find_first_of("'\"\\#;") == std::string_view::npos;
}

bool is_recordable_package(std::string_view text) {
    return is_package_name(text) && is_bare(text) && text.find('=') == std::string_view::npos &&
           text.find_first_of("+-|~@^") != 0;
}

bool is_value(std::string_view text) { return std::ranges::none_of(text, is_forbidden_control); }

void append_quoted(std::string &text, std::string_view value) {
    text += '\'';
    for (size_t quote = 0; (quote = value.find('\'')) != std::string_view::npos;) {
        text.append(value.substr(0, quote)).append("'\\''");
        value.remove_prefix(quote + 1);
    }
    text.append(value).append("'");
}

std::string quoted(std::string_view value) {
    std::string result;
    append_quoted(result, value);
    return result;
}

std::string bare_or_quoted(std::string_view text) { return is_bare(text) ? std::string(text) : quoted(text); }

} // namespace uci
