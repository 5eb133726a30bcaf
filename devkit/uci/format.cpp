// SPDX-License-Identifier: Apache-2.0
// The text of configuration files: parser and writer.
#include "devkit/uci/format.h"

#include "devkit/uci/lexer.h"
#include "devkit/uci/text.h"

#include <algorithm>

namespace uci {

namespace {

bool is_keyword(std::string_view text, std::string_view keyword) {
    return text == keyword || text == keyword.substr(0, 1);
}

// One command: the keyword and what follows it.
struct command {
    const lexer &source;
    const std::vector<word> &words;

    const word &keyword() const { return words.front(); }

    [[noreturn]] void fail(const char *reason, size_t index = 0) const { source.fail(reason, words[index]); }

    void expect_arguments(size_t least, size_t most) const {
        if (words.size() - 1 < least)
            fail("insufficient arguments");
        if (words.size() - 1 > most)
            fail("too many arguments", most + 1);
    }

    // A trailing argument that is left out reads as the empty text.
    std::string_view argument(size_t index) const {
        return index < words.size() ? words[index].text : std::string_view();
    }

    void expect(bool valid, size_t index) const {
        if (!valid)
            fail("invalid character in name field", index);
    }
};

class parser {
public:
    // Without a package to read into, the text has to name its packages.
    parser(std::vector<package> target, const tolerance &tolerant)
        : packages_(std::move(target)), named_(packages_.empty()), tolerant_(tolerant) {}

    std::vector<package> read(std::string_view text) {
        lexer source(text);
        while (read_command(source)) {
        }
        return std::move(packages_);
    }

    // The same by changes that are made one after the other.
    std::vector<change> merge(std::string_view text) {
        std::vector<change> made;
        changes_ = &made;
        read(text);
        return made;
    }

private:
    // False at the end of the text.
    bool read_command(lexer &source) {
        try {
            const std::vector<word> &words = source.next();
            if (!words.empty())
                read_command(command{source, words});
            return !words.empty();
        } catch (const parse_error &problem) {
            if (!tolerant_)
                throw;
            tolerant_(problem);
            source.skip_line();
            return true;
        }
    }

    void read_command(const command &line) {
        const std::string_view keyword = line.keyword().text;
        if (is_keyword(keyword, "package"))
            read_package(line);
        else if (is_keyword(keyword, "config"))
            read_section(line);
        else if (is_keyword(keyword, "option"))
            read_option(line, false);
        else if (is_keyword(keyword, "list"))
            read_option(line, true);
        else
            line.fail("invalid command");
    }

    void read_package(const command &line) {
        line.expect_arguments(1, 1);
        const std::string_view name = line.argument(1);
        line.expect(is_package_name(name), 1);
        if (!named_)
            return;
        const auto known = std::ranges::find(packages_, name, &package::name);
        package_ = static_cast<size_t>(known - packages_.begin());
        if (known == packages_.end())
            packages_.push_back({std::string(name), {}});
        in_section_ = false;
    }

    void read_section(const command &line) {
        line.expect_arguments(1, 2);
        line.expect(is_type(line.argument(1)), 1);
        if (packages_.empty())
            line.fail("attempt to import a file without a package name");
        const std::string_view name = line.argument(2);
        line.expect(name.empty() || is_name(name), 2);
        section &opened = name.empty() ? add_section(line) : named_section(line, name);
        section_ = static_cast<size_t>(&opened - packages_[package_].sections.data());
        in_section_ = true;
    }

    section &add_section(const command &line) {
        package &target = packages_[package_];
        const std::string name = target.next_name(line.argument(1));
        if (changes_ == nullptr)
            return target.create(name, line.argument(1), true);
        change_by({action::add, name, "", std::string(line.argument(1))});
        return *target.find(name);
    }

    section &named_section(const command &line, std::string_view name) {
        package &target = packages_[package_];
        const std::string_view type = line.argument(1);
        section *existing = target.find(name);
        if (existing != nullptr && existing->anonymous && changes_ == nullptr) {
            target.rename(*existing, target.next_name(existing->type)); // it only happened to get this one
            existing = nullptr;
        }
        if (existing != nullptr && existing->type != type && !tolerant_)
            line.fail("section of different type overwrites prior section with same name", 2);
        if (changes_ != nullptr)
            change_by({action::set, std::string(name), "", std::string(type)});
        else if (existing == nullptr)
            return target.create(name, type, false);
        else
            existing->type = type;
        return *target.find(name);
    }

    void read_option(const command &line, bool is_list) {
        line.expect_arguments(1, 2);
        const std::string_view name = line.argument(1);
        const std::string_view value = line.argument(2);
        line.expect(is_name(name), 1);
        if (!in_section_)
            line.fail("option/list command found before the first section");
        section &target = packages_[package_].sections[section_];
        if (changes_ != nullptr)
            change_by({is_list ? action::list_add : action::set, target.name, std::string(name),
                       std::string(value)});
        else if (is_list)
            target.add_to_list(name, value);
        else
            target.set(name, value);
    }

    void change_by(const change &wanted) {
        package &target = packages_[package_];
        if (std::optional<change> made =
                make(target, wanted.kind, {target.name, wanted.section, wanted.option, wanted.value}))
            changes_->push_back(std::move(*made));
    }

    std::vector<package> packages_;
    bool named_;
    const tolerance &tolerant_;
    std::vector<change> *changes_ = nullptr;
    size_t package_ = 0;
    size_t section_ = 0;
    bool in_section_ = false;
};

void write_section(const section &written, bool name_anonymous, std::string &text) {
    text.append("\nconfig ").append(bare_or_quoted(written.type));
    if (!written.anonymous || name_anonymous)
        append_quoted(text.append(" "), written.name);
    text += '\n';
    for (const option &setting : written.options)
        for (const std::string &value : setting.values) {
            text.append(setting.is_list ? "\tlist " : "\toption ").append(setting.name).append(" ");
            append_quoted(text, value);
            text += '\n';
        }
}

} // namespace

package parse_file(std::string_view name, std::string_view text, const tolerance &tolerant) {
    return std::move(parser({package{std::string(name), {}}}, tolerant).read(text).front());
}

std::vector<package> parse_export(std::string_view text, const tolerance &tolerant) {
    return parser({}, tolerant).read(text);
}

std::vector<change> parse_merge(const package &onto, std::string_view text, const tolerance &tolerant) {
    return parser({onto}, tolerant).merge(text);
}

std::string to_text(const package &source, bool name_anonymous) {
    std::string text;
    for (const section &each : source.sections)
        write_section(each, name_anonymous, text);
    return text + "\n";
}

std::string to_export(const package &source, bool name_anonymous) {
    return "package " + bare_or_quoted(source.name) + "\n" + to_text(source, name_anonymous);
}

} // namespace uci
