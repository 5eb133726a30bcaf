// SPDX-License-Identifier: Apache-2.0
// The commands that print what is there.
#include "devkit/uci/command/command_line.h"
#include "devkit/uci/text.h"

#include <algorithm>
#include <unordered_map>

namespace uci {

namespace {

section &find(package &content, const path &where) {
    section *found = content.find(where.section);
    if (found == nullptr)
        throw not_found();
    return *found;
}

option &find(section &from, const path &where) {
    option *found = from.find(where.option);
    if (found == nullptr)
        throw not_found();
    return *found;
}

using append_value = void (*)(std::string &text, std::string_view value);

void append_quoted_if_blank(std::string &text, std::string_view value) {
    if (std::ranges::any_of(value, is_space))
        append_quoted(text, value);
    else
        text += value;
}

void append_joined(std::string &text, const option &of, const std::string &delimiter, append_value append) {
    for (const std::string &value : of.values) {
        if (&value != of.values.data())
            text += delimiter;
        append(text, value);
    }
}

} // namespace

int command_line::get(const arguments &operands) {
    const path where = path_without_value(operands.front());
    package &content = work_->read(where.package);
    if (where.section.empty())
        return 0;
    section &found = find(content, where);
    if (where.option.empty()) {
        output_.print(found.type + "\n");
        return 0;
    }
    const option &wanted = find(found, where);
    std::string text;
    if (wanted.is_list)
        append_joined(text, wanted, settings_.delimiter, append_quoted_if_blank);
    else
        text = wanted.values.front();
    output_.print(text + "\n");
    return 0;
}

void command_line::show_option(const std::string &prefix, const option &shown, std::string &text) const {
    text.append(prefix).append(".").append(shown.name).append("=");
    append_joined(text, shown, settings_.delimiter, append_quoted);
    text += '\n';
}

void command_line::show_section(const std::string &prefix, const section &shown, std::string &text) const {
    text.append(prefix).append("=").append(shown.type).append("\n");
    for (const option &each : shown.options)
        show_option(prefix, each, text);
}

void command_line::show_package(const package &content, std::string &text) const {
    std::unordered_map<std::string_view, size_t> seen; // sections of each type
    for (const section &each : content.sections) {
        const size_t place = seen[each.type]++;
        std::string prefix = content.name + ".";
        if (each.anonymous && settings_.selectors)
            prefix.append("@").append(each.type).append("[").append(std::to_string(place)).append("]");
        else
            prefix += each.name;
        show_section(prefix, each, text);
    }
}

int command_line::show(const arguments &operands) {
    return for_each_package(operands, [this](const path &where) {
        package &content = work_->read(where.package);
        std::string text;
        if (where.section.empty()) {
            show_package(content, text);
        } else {
            section &found = find(content, where);
            const std::string prefix = content.name + "." + found.name;
            if (where.option.empty())
                show_section(prefix, found, text);
            else
                show_option(prefix, find(found, where), text);
        }
        output_.print(text);
    });
}

int command_line::export_text(const arguments &operands) {
    return for_each_package(operands, [this](const path &where) {
        output_.print(to_export(work_->read(where.package), settings_.name_anonymous));
    });
}

void command_line::show_change(const std::string &package, const change &shown) {
    const bool is_removal = shown.kind == action::remove;
    std::string line = (is_removal ? "-" : "") + package + "." + shown.section;
    if (!shown.option.empty())
        line += "." + shown.option;
    if (shown.kind == action::list_add)
        line += "+";
    if (shown.kind == action::list_remove)
        line += "-";
    if (!is_removal)
        line += "=" + quoted(shown.value.value_or(""));
    output_.print(line + "\n");
}

int command_line::changes(const arguments &operands) {
    return for_each_package(operands, [this](const path &where) {
        for (const change &each : work_->recorded(where.package))
            show_change(where.package, each);
    });
}

} // namespace uci
