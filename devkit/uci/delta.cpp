// SPDX-License-Identifier: Apache-2.0
// Changes to a package, and the lines of the delta file that holds them until a commit.
#include "devkit/uci/delta.h"

#include "devkit/uci/error.h"
#include "devkit/uci/lexer.h"
#include "devkit/uci/path.h"
#include "devkit/uci/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace uci {

namespace {

struct prefix {
    action kind;
    char mark; // first byte of the line
};
// Setting has no mark.
constexpr std::array<prefix, 6> prefixes{{
    {action::add, '+'},
    {action::remove, '-'},
    {action::list_add, '|'},
    {action::list_remove, '~'},
    {action::rename, '@'},
    {action::reorder, '^'},
}};

void expect(bool valid) {
    if (!valid)
        throw invalid_argument();
}

void expect_name(bool valid) {
    if (!valid)
        throw parse_error();
}

template <typename T>
T &existing(T *found) {
    if (found == nullptr)
        throw not_found();
    return *found;
}

size_t parse_number(std::string_view text) {
    size_t number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    expect(failure == std::errc() && stop == end);
    return number;
}

bool set_type(package &target, const change &wanted, bool anonymous) {
    expect(wanted.option.empty());
    expect_name(is_bare(*wanted.value));
    section *found = target.find(wanted.section);
    if (found == nullptr) {
        expect(is_name(wanted.section));
        target.create(wanted.section, *wanted.value, anonymous);
        return true;
    }
    if (found->type == *wanted.value)
        return false;
    found->type = *wanted.value;
    return true;
}

bool set(package &target, const change &wanted) {
    if (wanted.option.empty() && wanted.value->empty())
        return std::erase_if(target.sections,
                             [&](const section &each) { return each.name == wanted.section; });
    if (wanted.option.empty())
        return set_type(target, wanted, false);
    section *found = target.find(wanted.section);
    expect(found != nullptr);
    return found->set(wanted.option, *wanted.value);
}

bool remove_item(section &from, const change &wanted) {
    const option &list = existing(from.find(wanted.option));
    const size_t index = parse_number(*wanted.value);
    if (!list.is_list || index >= list.values.size())
        throw not_found();
    std::vector<std::string> &values = from.find(wanted.option)->values;
    values.erase(values.begin() + static_cast<std::ptrdiff_t>(index));
    if (values.empty())
        from.remove(wanted.option);
    return true;
}

bool remove(package &target, const change &wanted) {
    section &found = existing(target.find(wanted.section));
    if (wanted.option.empty()) {
        expect(!wanted.value);
        target.sections.erase(target.sections.begin() + (&found - target.sections.data()));
        return true;
    }
    if (wanted.value)
        return remove_item(found, wanted);
    existing(found.find(wanted.option));
    return found.remove(wanted.option);
}

bool add_to_list(package &target, const change &wanted) {
    section *found = target.find(wanted.section);
    expect(found != nullptr && !wanted.option.empty());
    found->add_to_list(wanted.option, *wanted.value);
    return true;
}

bool remove_from_list(package &target, const change &wanted) {
    expect(!wanted.option.empty());
    section &found = existing(target.find(wanted.section));
    existing(found.find(wanted.option));
    return found.remove_from_list(wanted.option, *wanted.value);
}

// Two entries of one name could not be told apart in the file.
template <typename Owner, typename Entry>
bool rename_entry(Owner &owner, Entry &entry, const std::string &name) {
    if (entry.name == name)
        return false;
    expect(owner.find(name) == nullptr);
    entry.name = name;
    return true;
}

bool rename(package &target, const change &wanted) {
    expect_name(is_name(*wanted.value));
    section &found = existing(target.find(wanted.section));
    if (!wanted.option.empty())
        return rename_entry(found, existing(found.find(wanted.option)), *wanted.value);
    const bool renamed = rename_entry(target, found, *wanted.value);
    return std::exchange(found.anonymous, false) || renamed;
}

bool reorder(package &target, const change &wanted) {
    expect(wanted.option.empty());
    section &found = existing(target.find(wanted.section));
    const auto from = target.sections.begin() + (&found - target.sections.data());
    const size_t place = std::min(parse_number(*wanted.value), target.sections.size() - 1);
    const auto to = target.sections.begin() + static_cast<std::ptrdiff_t>(place);
    if (from < to)
        std::rotate(from, from + 1, to + 1);
    else
        std::rotate(to, from, from + 1);
    return from != to;
}

std::optional<change> parse_line(std::string_view package_name, std::string_view line) {
    action kind = action::set;
    for (const prefix &each : prefixes)
        if (line.starts_with(each.mark))
            kind = each.kind;
    const path where = parse_path(line.substr(kind == action::set ? 0 : 1));
    if (where.package != package_name || !is_name(where.section))
        return std::nullopt;
    return change{kind, where.section, where.option, where.value};
}

} // namespace

bool apply(package &target, const change &wanted) {
    expect(wanted.value || wanted.kind == action::remove);
    expect(!wanted.value || is_value(*wanted.value));
    switch (wanted.kind) {
    case action::set:
        return set(target, wanted);
    case action::add:
        return set_type(target, wanted, true);
    case action::remove:
        return remove(target, wanted);
    case action::list_add:
        return add_to_list(target, wanted);
    case action::list_remove:
        return remove_from_list(target, wanted);
    case action::rename:
        return rename(target, wanted);
    case action::reorder:
        return reorder(target, wanted);
    }
    throw invalid_argument();
}

bool exists(package &content, const path &where) {
    section *found = content.find(where.section);
    return found != nullptr && (where.option.empty() || found->find(where.option) != nullptr);
}

change resolve(package &content, action kind, const path &where) {
    change result{kind, where.section, where.option, where.value};
    if (const section *found = content.find(where.section))
        result.section = found->name;
    return result;
}

std::optional<change> make(package &target, action kind, const path &where) {
    if (where.section.empty())
        throw invalid_argument();
    change wanted = resolve(target, kind, where);
    if (kind == action::set && where.value == "") {
        if (!target.find(where.section) && !where.option.empty())
            throw invalid_argument();
        if (!exists(target, where))
            return std::nullopt;
        wanted.kind = action::remove;
        wanted.value.reset();
    }
    return apply(target, wanted) ? std::optional(std::move(wanted)) : std::nullopt;
}

std::string to_line(std::string_view package_name, const change &made) {
    std::string line;
    for (const prefix &each : prefixes)
        if (made.kind == each.kind)
            line += each.mark;
    line.append(package_name).append(".").append(made.section);
    if (!made.option.empty())
        line += "." + made.option;
    if (made.value)
        line += "=" + quoted(*made.value);
    return line + "\n";
}

delta parse_delta(std::string_view package_name, std::string_view text) {
    text = text.substr(0, text.rfind('\n') + 1);
    delta result{{}, text.size()};
    lexer source(text);
    try {
        size_t whole = 0;
        for (std::vector<word> words = source.next(); !words.empty(); words = source.next()) {
            if (source.consumed() == whole) {
                result.whole = whole; // its line end is escaped: the next line would be part of it
                break;
            }
            whole = source.consumed();
            try {
                std::optional<change> line = parse_line(package_name, words.front().text);
                if (words.size() == 1 && line)
                    result.changes.push_back(std::move(*line));
            } catch (const error &) {
                continue; // a bad line takes no other with it
            }
        }
    } catch (const parse_error &) {
        result.whole = source.consumed();
    }
    return result;
}

} // namespace uci
