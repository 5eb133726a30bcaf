// SPDX-License-Identifier: Apache-2.0
// A configuration package in memory.
#include "devkit/uci/package.h"

#include "devkit/uci/text.h"

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

// A whole number as strtol takes it.
std::optional<int> parse_index(std::string_view text) {
    while (!text.empty() && is_space(text.front()))
        text.remove_prefix(1);
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    int number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    return failure == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

std::optional<selector> parse_selector(std::string_view text) {
    const size_t bracket = text.find('[');
    if (!text.starts_with('@') || !text.ends_with(']') || bracket == std::string_view::npos)
        return std::nullopt;
    const std::string_view type = text.substr(1, bracket - 1);
    const std::string_view number = text.substr(bracket + 1, text.size() - bracket - 2);
    const std::optional<int> index = number.empty() ? 0 : parse_index(number);
    return index ? std::optional(selector{type, *index}) : std::nullopt;
}

template <typename Iterator>
section *nth(Iterator from, Iterator to, std::string_view type, int index) {
    for (; from != to; ++from)
        if ((type.empty() || from->type == type) && index-- == 0)
            return &*from;
    return nullptr;
}

section *select(std::vector<section> &sections, const selector &wanted) {
    if (wanted.index >= 0)
        return nth(sections.begin(), sections.end(), wanted.type, wanted.index);
    return nth(sections.rbegin(), sections.rend(), wanted.type, -(wanted.index + 1));
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
        options.push_back({std::string(option_name), false, {}});
        options.back().values.emplace_back(value);
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
    return existing != nullptr && existing->is_list && std::erase(existing->values, value) != 0;
}

bool section::remove(std::string_view option_name) {
    return std::erase_if(options, [&](const option &each) { return each.name == option_name; }) != 0;
}

section *package::find(std::string_view name_or_selector) {
    if (const std::optional<selector> wanted = parse_selector(name_or_selector))
        return select(sections, *wanted);
    const size_t place = index.find(sections, name_or_selector);
    return place == section_index::none ? nullptr : &sections[place];
}

section &package::create(std::string_view section_name, std::string_view type, bool anonymous) {
    ++created;
    sections.emplace_back(section{std::string(section_name), std::string(type), anonymous, {}});
    index.add_last(sections);
    return sections.back();
}

void package::rename(section &renamed, const std::string &section_name) {
    renamed.name = section_name;
    index.forget();
}

void package::remove(const section &removed) {
    sections.erase(sections.begin() + (&removed - sections.data()));
    index.forget();
}

bool package::move(const section &moved, size_t place) {
    const auto from = sections.begin() + (&moved - sections.data());
    const auto to = sections.begin() + static_cast<std::ptrdiff_t>(std::min(place, sections.size() - 1));
    if (from < to)
        std::rotate(from, from + 1, to + 1);
    else
        std::rotate(to, from, from + 1);
    index.forget();
    return from != to;
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
