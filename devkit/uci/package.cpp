// SPDX-License-Identifier: Apache-2.0
// A configuration package in memory.
#include "devkit/uci/package.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>

namespace uci {

namespace {

struct selector {
    std::string_view type; // empty: any
    int index;             // negative: from the end
};

std::optional<selector> parse_selector(std::string_view text) {
    const size_t bracket = text.find('[');
    if (!text.starts_with('@') || !text.ends_with(']') || bracket == std::string_view::npos)
        return std::nullopt;
    const std::string_view number = text.substr(bracket + 1, text.size() - bracket - 2);
    selector result{text.substr(1, bracket - 1), 0};
    if (number.empty())
        return result;
    const char *end = number.data() + number.size();
    const auto [stop, failure] = std::from_chars(number.data(), end, result.index);
    if (failure != std::errc() || stop != end)
        return std::nullopt;
    return result;
}

section *select(std::vector<section> &sections, const selector &wanted) {
    std::vector<section *> candidates;
    for (section &each : sections)
        if (wanted.type.empty() || each.type == wanted.type)
            candidates.push_back(&each);
    const auto count = static_cast<std::ptrdiff_t>(candidates.size());
    const std::ptrdiff_t index = wanted.index < 0 ? wanted.index + count : wanted.index;
    return index >= 0 && index < count ? candidates[static_cast<size_t>(index)] : nullptr;
}

uint32_t djb2(std::string_view text) {
    uint32_t hash = 5381;
    for (const char c : text)
        hash = hash * 33 + static_cast<unsigned char>(c);
    return hash;
}

std::string anonymous_name(size_t number, std::string_view type) {
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "cfg%02zx%04x", number, djb2(type) & 0xffffU);
    return name.data();
}

} // namespace

option *section::find(std::string_view option_name) {
    const auto found = std::ranges::find(options, option_name, &option::name);
    return found == options.end() ? nullptr : &*found;
}

bool section::set(std::string_view option_name, std::string_view value) {
    if (value.empty())
        return remove(option_name);
    option *existing = find(option_name);
    if (existing == nullptr) {
        options.push_back({std::string(option_name), false, {std::string(value)}});
        return true;
    }
    if (!existing->is_list && existing->values.front() == value)
        return false;
    existing->is_list = false;
    existing->values.assign(1, std::string(value));
    return true;
}

void section::add_to_list(std::string_view option_name, std::string_view value) {
    option *existing = find(option_name);
    if (existing == nullptr)
        existing = &options.emplace_back(option{std::string(option_name), true, {}});
    existing->is_list = true;
    existing->values.emplace_back(value);
}

bool section::remove_from_list(std::string_view option_name, std::string_view value) {
    option *existing = find(option_name);
    if (existing == nullptr || !existing->is_list || std::erase(existing->values, value) == 0)
        return false;
    if (existing->values.empty())
        remove(option_name);
    return true;
}

bool section::remove(std::string_view option_name) {
    return std::erase_if(options, [&](const option &each) { return each.name == option_name; }) != 0;
}

section *package::find(std::string_view name_or_selector) {
    if (const std::optional<selector> wanted = parse_selector(name_or_selector))
        return select(sections, *wanted);
    const auto found = std::ranges::find(sections, name_or_selector, &section::name);
    return found == sections.end() ? nullptr : &*found;
}

section &package::create(std::string_view section_name, std::string_view type, bool anonymous) {
    ++created;
    return sections.emplace_back(section{std::string(section_name), std::string(type), anonymous, {}});
}

std::string package::next_name(std::string_view type) {
    size_t number = created + 1;
    std::string candidate = anonymous_name(number, type);
    // A name can be taken already: by a named section, or by a later change when an earlier one was reverted.
    while (find(candidate) != nullptr)
        candidate = anonymous_name(++number, type);
    return candidate;
}

size_t package::count(std::string_view type) const {
    return static_cast<size_t>(std::ranges::count(sections, type, &section::type));
}

bool is_selector(std::string_view text) { return parse_selector(text).has_value(); }

} // namespace uci
