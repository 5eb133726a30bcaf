// SPDX-License-Identifier: Apache-2.0
// The text of configuration files: parser and writer.
#include "devkit/uci/format.h"

#include "devkit/uci/error.h"
#include "devkit/uci/lexer.h"
#include "devkit/uci/text.h"

#include <algorithm>

namespace uci {

namespace {

[[noreturn]] void fail(const char *reason, const word &where) {
    throw parse_error(reason, where.line, where.byte);
}

bool is_keyword(std::string_view text, std::string_view keyword) {
    return text == keyword || text == keyword.substr(0, 1);
}

// One command: the keyword and what follows it.
struct command {
    const std::vector<word> &words;

    const word &keyword() const { return words.front(); }

    void expect_arguments(size_t least, size_t most) const {
        if (words.size() - 1 < least)
            fail("insufficient arguments", keyword());
        if (words.size() - 1 > most)
            fail("too many arguments", words[most + 1]);
    }

    // A trailing argument that is left out reads as the empty text.
    std::string_view argument(size_t index) const {
        return index < words.size() ? std::string_view(words[index].text) : std::string_view();
    }

    void expect(bool valid, size_t index) const {
        if (!valid)
            fail("invalid character in name field", words[index]);
    }
};

class parser {
public:
    // Without a package to read into, the text has to name its packages.
    explicit parser(std::vector<package> target) : packages_(std::move(target)), named_(packages_.empty()) {}

    std::vector<package> read(std::string_view text) {
        lexer source(text);
        for (std::vector<word> words = source.next(); !words.empty(); words = source.next())
            read_command({words});
        return std::move(packages_);
    }

private:
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
            fail("invalid command", line.keyword());
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
        const std::string_view type = line.argument(1);
        const std::string_view name = line.argument(2);
        line.expect(is_type(type), 1);
        if (packages_.empty())
            fail("attempt to import a file without a package name", line.keyword());
        package &target = packages_[package_];
        if (name.empty()) {
            open(target, target.create(target.next_name(type), type, true));
            return;
        }
        line.expect(is_name(name), 2);
        section *existing = target.find(name);
        if (existing != nullptr && existing->anonymous) {
            existing->name = target.next_name(existing->type); // it only happened to get this one
            existing = nullptr;
        }
        if (existing != nullptr && existing->type != type)
            fail("section of different type overwrites prior section with same name", line.words[2]);
        open(target, existing != nullptr ? *existing : target.create(name, type, false));
    }

    void open(const package &target, const section &opened) {
        section_ = static_cast<size_t>(&opened - target.sections.data());
        in_section_ = true;
    }

    void read_option(const command &line, bool is_list) {
        line.expect_arguments(1, 2);
        const std::string_view name = line.argument(1);
        const std::string_view value = line.argument(2);
        line.expect(is_name(name), 1);
        if (value.find('\0') != std::string_view::npos)
            fail("NUL byte in value", line.words[2]);
        if (!in_section_)
            fail("option/list command found before the first section", line.keyword());
        section &target = packages_[package_].sections[section_];
        if (is_list)
            target.add_to_list(name, value);
        else
            target.set(name, value);
    }

    std::vector<package> packages_;
    bool named_;
    size_t package_ = 0;
    size_t section_ = 0;
    bool in_section_ = false;
};

} // namespace

package parse_file(std::string_view name, std::string_view text) {
    return parser({package{std::string(name), {}}}).read(text).front();
}

std::vector<package> parse_export(std::string_view text) { return parser({}).read(text); }

std::string to_text(const package &source, bool name_anonymous) {
    std::string text;
    for (const section &each : source.sections) {
        text += "\nconfig " + bare_or_quoted(each.type);
        if (!each.anonymous || name_anonymous)
            text += " " + quoted(each.name);
        text += "\n";
        for (const option &setting : each.options)
            for (const std::string &value : setting.values)
                text +=
                    (setting.is_list ? "\tlist " : "\toption ") + setting.name + " " + quoted(value) + "\n";
    }
    return text + "\n";
}

std::string to_export(const package &source, bool name_anonymous) {
    return "package " + bare_or_quoted(source.name) + "\n" + to_text(source, name_anonymous);
}

} // namespace uci
