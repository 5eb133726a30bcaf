// SPDX-License-Identifier: Apache-2.0
// Random packages and changes, the same ones for the same seed.
#pragma once

#include "devkit/uci/delta.h"
#include "devkit/uci/package.h"

#include <random>
#include <string>

class generator {
public:
    explicit generator(unsigned seed) : engine_(seed) {}

    size_t below(size_t limit) { return std::uniform_int_distribution<size_t>(0, limit - 1)(engine_); }

    std::string text(std::string_view alphabet, size_t longest) {
        std::string result;
        for (size_t length = below(longest + 1); length != 0; --length)
            result += alphabet[below(alphabet.size())];
        return result;
    }

    std::string name() { return std::string(1, "abc"[below(3)]) + text("xY_9", 2); }

    std::string type() { return std::string(1, "tu"[below(2)]) + text("-.!", 1); }

    // Not empty: the empty value of an option stands for its removal.
    std::string value() { return "v" + text("'\"\\ \t\n\r#;$=.@[]\xc3\xa9 ab", 12); }

    uci::package package() {
        uci::package result{"net", {}};
        for (size_t count = below(6); count != 0; --count)
            section(result);
        return result;
    }

    // Mostly a change that fits the package.
    uci::change change(uci::package &content) {
        const std::string section = known_section(content);
        const std::string option = known_option(content, section);
        switch (below(11)) {
        case 0:
            return {uci::action::set, name(), "", type()};
        case 1:
            return {uci::action::add, content.next_name("t"), "", "t"};
        case 2:
            return {uci::action::remove, section, "", std::nullopt};
        case 3:
            return {uci::action::remove, section, option, std::nullopt};
        case 4:
            return {uci::action::remove, section, option, std::to_string(below(3))};
        case 5:
            return {uci::action::list_add, section, option, below(4) == 0 ? "" : value()};
        case 6:
            return {uci::action::list_remove, section, option, known_value(content, section, option)};
        case 7:
            return {uci::action::rename, section, below(2) == 0 ? "" : option, name()};
        case 8:
            return {uci::action::reorder, section, "", std::to_string(below(7))};
        default:
            return {uci::action::set, section, below(2) == 0 ? option : name(), value()};
        }
    }

private:
    void section(uci::package &target) {
        const std::string section_type = type();
        const bool anonymous = below(2) == 0;
        const std::string section_name = anonymous ? target.next_name(section_type) : name();
        if (target.find(section_name) != nullptr)
            return;
        uci::section &created = target.create(section_name, section_type, anonymous);
        for (size_t count = below(5); count != 0; --count) {
            if (below(3) == 0)
                created.add_to_list(name(), below(4) == 0 ? "" : value());
            else
                created.set(name(), value());
        }
    }

    std::string known_section(const uci::package &content) {
        return content.sections.empty() ? name() : content.sections[below(content.sections.size())].name;
    }

    std::string known_option(uci::package &content, const std::string &section) {
        const uci::section *found = content.find(section);
        return found == nullptr || found->options.empty() ? name()
                                                          : found->options[below(found->options.size())].name;
    }

    std::string known_value(uci::package &content, const std::string &section, const std::string &option) {
        uci::section *found = content.find(section);
        const uci::option *list = found == nullptr ? nullptr : found->find(option);
        return list == nullptr || list->values.empty() ? value() : list->values[below(list->values.size())];
    }

    std::mt19937 engine_;
};
