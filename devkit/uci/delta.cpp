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
    char sign; // first byte of the line
};
constexpr std::string_view mark_begin = "#committed ";

// Setting has no sign.
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

long parse_number(std::string_view text) {
    long number = 0;
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
    section *found = target.find(wanted.section);
    if (wanted.option.empty() && wanted.value->empty()) {
        if (found != nullptr)
            target.remove(*found);
        return found != nullptr;
    }
    if (wanted.option.empty())
        return set_type(target, wanted, false);
    expect(found != nullptr);
    return found->set(wanted.option, *wanted.value);
}

// An item that is not there is gone already.
bool remove_item(section &from, const change &wanted) {
    option &list = existing(from.find(wanted.option));
    const long index = parse_number(*wanted.value);
    if (!list.is_list)
        throw not_found();
    if (index < 0 || static_cast<size_t>(index) >= list.values.size())
        return false;
    list.values.erase(list.values.begin() + index);
    return true;
}

bool remove(package &target, const change &wanted) {
    section &found = existing(target.find(wanted.section));
    if (wanted.option.empty()) {
        expect(!wanted.value);
        target.remove(found);
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
    return found.remove_from_list(wanted.option, *wanted.value);
}

// Two entries of one name could not be told apart in the file.
template <typename Owner>
bool is_new_name(Owner &owner, const std::string &name, const std::string &now) {
    expect(name == now || owner.find(name) == nullptr);
    return name != now;
}

bool rename(package &target, const change &wanted) {
    expect_name(is_name(*wanted.value));
    section &found = existing(target.find(wanted.section));
    if (!wanted.option.empty()) {
        option &renamed = existing(found.find(wanted.option));
        const bool is_new = is_new_name(found, *wanted.value, renamed.name);
        renamed.name = *wanted.value;
        return is_new;
    }
    const bool is_new = is_new_name(target, *wanted.value, found.name);
    if (is_new)
        target.rename(found, *wanted.value);
    return std::exchange(found.anonymous, false) || is_new;
}

bool reorder(package &target, const change &wanted) {
    expect(wanted.option.empty());
    const section &found = existing(target.find(wanted.section));
    const long place = parse_number(*wanted.value);
    return target.move(found, place < 0 ? target.sections.size() : static_cast<size_t>(place));
}

std::optional<change> parse_line(std::string_view package_name, std::string_view line) {
    action kind = action::set;
    for (const prefix &each : prefixes)
        if (line.starts_with(each.sign))
            kind = each.kind;
    const path where = parse_path(line.substr(kind == action::set ? 0 : 1));
    if (where.package != package_name || !is_name(where.section) || (!where.value && kind != action::remove))
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
            line += each.sign;
    line.append(package_name).append(".").append(made.section);
    if (!made.option.empty())
        line += "." + made.option;
    if (made.value)
        line += "=" + quoted(*made.value);
    return line + "\n";
}

namespace {

// A mark is a comment that has a line of its own between two changes.
void collect_marks(std::string_view between, size_t changes, std::vector<mark> &out) {
    while (!between.empty()) {
        const std::string_view line = between.substr(0, between.find('\n'));
        if (line.starts_with(mark_begin))
            out.push_back({std::string(line.substr(mark_begin.size())), changes});
        between.remove_prefix(std::min(line.size() + 1, between.size()));
    }
}

void add_line(std::string_view package_name, const std::vector<word> &words, delta &out) {
    if (words.size() != 1)
        return;
    try {
        if (std::optional<change> line = parse_line(package_name, words.front().text))
            out.changes.push_back(std::move(*line));
    } catch (const error &) {
        return; // a bad line takes no other with it
    }
}

} // namespace

std::string to_mark(const std::string &identity) { return std::string(mark_begin) + identity + "\n"; }

delta parse_delta(std::string_view package_name, std::string_view text) {
    text = text.substr(0, text.rfind('\n') + 1);
    delta result{{}, text.size(), {}};
    lexer source(text);
    const auto take_marks = [&](size_t from) {
        collect_marks(text.substr(from, source.begun() - from), result.changes.size(), result.marks);
    };
    size_t whole = 0;
    try {
        for (const std::vector<word> *words = &source.next(); !words->empty(); words = &source.next()) {
            take_marks(whole);
            if (source.consumed() == whole) {
                result.whole = whole; // its line end is escaped: the next line would be part of it
                return result;
            }
            whole = source.consumed();
            add_line(package_name, *words, result);
        }
    } catch (const parse_error &) {
        result.whole = source.consumed();
    }
    take_marks(whole);
    return result;
}

} // namespace uci
