// SPDX-License-Identifier: Apache-2.0
// The command `uci`.
#include "devkit/uci/error.h"
#include "devkit/uci/format.h"
#include "devkit/uci/lexer.h"
#include "devkit/uci/store.h"
#include "devkit/uci/text.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iostream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace {

constexpr int exit_usage = 255;

constexpr const char *usage_text =
    "Usage: uci [OPTION]... COMMAND [ARGUMENT]...\n"
    "\n"
    "Commands:\n"
    "  get PACKAGE.SECTION[.OPTION]\n"
    "  set PACKAGE.SECTION[.OPTION]=VALUE\n"
    "  add PACKAGE TYPE\n"
    "  add_list PACKAGE.SECTION.OPTION=VALUE\n"
    "  del_list PACKAGE.SECTION.OPTION=VALUE\n"
    "  delete PACKAGE.SECTION[.OPTION[=NUMBER]]\n"
    "  rename PACKAGE.SECTION[.OPTION]=NAME\n"
    "  reorder PACKAGE.SECTION=PLACE\n"
    "  revert PACKAGE[.SECTION[.OPTION]]\n"
    "  show [PACKAGE[.SECTION[.OPTION]]]\n"
    "  export [PACKAGE]\n"
    "  import [PACKAGE]\n"
    "  changes [PACKAGE]\n"
    "  commit [PACKAGE]\n"
    "  batch\n"
    "\n"
    "Options:\n"
    "  -c DIR  configuration folder (/etc/config)\n"
    "  -t DIR  folder that changes are recorded in (/tmp/.uci)\n"
    "  -p DIR  one more folder to read changes from\n"
    "  -P DIR  like -t, and read changes from the folder so far too\n"
    "  -d STR  text between the values of a list (one space)\n"
    "  -n, -N  write the names of anonymous sections on export, or do not (default)\n"
    "  -q      no error messages\n"
    "  -X      no selectors in what show prints\n";

struct settings {
    uci::folders folders;
    std::string delimiter = " ";
    bool name_anonymous = false;
    bool quiet = false;
    bool selectors = true;
};

// The command line is not one that this program knows.
struct usage_error {};

using arguments = std::vector<std::string>;

class command_line {
public:
    explicit command_line(settings given) : settings_(std::move(given)), store_(settings_.folders) {}

    // The exit status. Errors are reported here.
    int run(const arguments &words);

private:
    struct command;
    static const std::array<command, 15> commands;

    void dispatch(const arguments &words);
    void report(const std::string &text);

    void get(const arguments &operands);
    void set(const arguments &operands) { record(uci::action::set, operands); }
    void add(const arguments &operands);
    void add_to_list(const arguments &operands) { record(uci::action::list_add, operands); }
    void remove_from_list(const arguments &operands) { record(uci::action::list_remove, operands); }
    void remove(const arguments &operands) { record(uci::action::remove, operands); }
    void rename(const arguments &operands) { record(uci::action::rename, operands); }
    void reorder(const arguments &operands) { record(uci::action::reorder, operands); }
    void revert(const arguments &operands);
    void show(const arguments &operands);
    void export_text(const arguments &operands);
    void import_text(const arguments &operands);
    void changes(const arguments &operands);
    void commit(const arguments &operands);
    void batch(const arguments &operands);

    void record(uci::action kind, const arguments &operands);
    void for_each_package(const arguments &operands, const std::function<void(const std::string &)> &act);
    void show_package(uci::package &content);
    void show_section(const std::string &prefix, const uci::section &shown);
    void show_option(const std::string &prefix, const uci::option &shown);
    std::string read_input();
    std::string shown_name(const uci::package &content, const uci::section &shown) const;

    settings settings_;
    uci::store store_;
    bool input_read_ = false;
    int status_ = 0;
};

struct command_line::command {
    const char *name;
    size_t least, most; // operands
    void (command_line::*run)(const arguments &operands);
};

// clang-format off
const std::array<command_line::command, 15> command_line::commands{{
    {"get",      1, 1, &command_line::get},
    {"set",      1, 1, &command_line::set},
    {"add",      2, 2, &command_line::add},
    {"add_list", 1, 1, &command_line::add_to_list},
    {"del_list", 1, 1, &command_line::remove_from_list},
    {"delete",   1, 1, &command_line::remove},
    {"rename",   1, 1, &command_line::rename},
    {"reorder",  1, 1, &command_line::reorder},
    {"revert",   1, 1, &command_line::revert},
    {"show",     0, 1, &command_line::show},
    {"export",   0, 1, &command_line::export_text},
    {"import",   0, 1, &command_line::import_text},
    {"changes",  0, 1, &command_line::changes},
    {"commit",   0, 1, &command_line::commit},
    {"batch",    0, 0, &command_line::batch},
}};
// clang-format on

uci::path path_without_value(const std::string &text) {
    uci::path where = uci::parse_path(text);
    if (where.value)
        throw usage_error();
    return where;
}

uci::section &find(uci::package &content, const uci::path &where) {
    uci::section *found = content.find(where.section);
    if (found == nullptr)
        throw uci::not_found();
    return *found;
}

uci::option &find(uci::section &from, const uci::path &where) {
    uci::option *found = from.find(where.option);
    if (found == nullptr)
        throw uci::not_found();
    return *found;
}

std::string join(const std::vector<std::string> &values, const std::string &delimiter,
                 const std::function<std::string(const std::string &)> &as_text) {
    std::string text;
    for (const std::string &value : values)
        text += (&value == values.data() ? "" : delimiter) + as_text(value);
    return text;
}

std::string quoted_if_blank(const std::string &value) {
    return std::ranges::any_of(value, uci::is_space) ? uci::quoted(value) : value;
}

void command_line::report(const std::string &text) {
    status_ = 1;
    if (!settings_.quiet)
        std::cerr << "uci: " << text << '\n';
}

int command_line::run(const arguments &words) {
    status_ = 0;
    try {
        dispatch(words);
    } catch (const std::exception &failure) {
        report(failure.what());
    } catch (const usage_error &) {
        status_ = exit_usage;
        if (!settings_.quiet)
            std::cerr << usage_text;
    }
    if (!std::cout.flush())
        report("I/O error (standard output)");
    return status_;
}

void command_line::dispatch(const arguments &words) {
    if (words.empty())
        throw usage_error();
    const auto found = std::ranges::find(commands, words.front(), &command::name);
    const arguments operands(words.begin() + 1, words.end());
    if (found == commands.end() || operands.size() < found->least || operands.size() > found->most)
        throw usage_error();
    (this->*found->run)(operands);
}

// One package that fails does not keep the others from their turn.
void command_line::for_each_package(const arguments &operands,
                                    const std::function<void(const std::string &)> &act) {
    if (!operands.empty()) {
        act(operands.front());
        return;
    }
    for (const std::string &name : store_.packages()) {
        try {
            act(name);
        } catch (const uci::error &failure) {
            report(failure.what());
        }
    }
}

void command_line::get(const arguments &operands) {
    const uci::path where = path_without_value(operands.front());
    uci::package content = store_.load(where.package);
    if (where.section.empty())
        throw uci::invalid_argument();
    uci::section &found = find(content, where);
    if (where.option.empty()) {
        std::cout << found.type << '\n';
        return;
    }
    const uci::option &wanted = find(found, where);
    if (wanted.is_list)
        std::cout << join(wanted.values, settings_.delimiter, quoted_if_blank) << '\n';
    else
        std::cout << wanted.values.front() << '\n';
}

void command_line::record(uci::action kind, const arguments &operands) {
    store_.record(kind, uci::parse_path(operands.front()));
}

void command_line::add(const arguments &operands) {
    std::cout << store_.add(operands[0], operands[1]) << '\n';
}

void command_line::revert(const arguments &operands) { store_.revert(path_without_value(operands.front())); }

std::string command_line::shown_name(const uci::package &content, const uci::section &shown) const {
    if (!shown.anonymous || !settings_.selectors)
        return shown.name;
    const auto before = std::ranges::count(content.sections.data(), &shown, shown.type, &uci::section::type);
    return "@" + shown.type + "[" + std::to_string(before) + "]";
}

void command_line::show_option(const std::string &prefix, const uci::option &shown) {
    std::cout << prefix << '.' << shown.name << '=' << join(shown.values, settings_.delimiter, uci::quoted)
              << '\n';
}

void command_line::show_section(const std::string &prefix, const uci::section &shown) {
    std::cout << prefix << '=' << shown.type << '\n';
    for (const uci::option &each : shown.options)
        show_option(prefix, each);
}

void command_line::show_package(uci::package &content) {
    for (const uci::section &each : content.sections)
        show_section(content.name + "." + shown_name(content, each), each);
}

void command_line::show(const arguments &operands) {
    for_each_package(operands, [this](const std::string &text) {
        const uci::path where = path_without_value(text);
        uci::package content = store_.load(where.package);
        if (where.section.empty()) {
            show_package(content);
            return;
        }
        uci::section &found = find(content, where);
        const std::string prefix = where.package + "." + found.name;
        if (where.option.empty())
            show_section(prefix, found);
        else
            show_option(prefix, find(found, where));
    });
}

void command_line::export_text(const arguments &operands) {
    for_each_package(operands, [this](const std::string &name) {
        std::cout << uci::to_export(store_.load(name), settings_.name_anonymous);
    });
}

// A batch has used up the standard input: its lines cannot read it again.
std::string command_line::read_input() {
    if (std::exchange(input_read_, true))
        throw usage_error();
    return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
}

void command_line::import_text(const arguments &operands) {
    const std::string text = read_input();
    if (!operands.empty()) {
        store_.replace(uci::parse_file(operands.front(), text));
        return;
    }
    for (const uci::package &each : uci::parse_export(text))
        store_.replace(each);
}

void command_line::changes(const arguments &operands) {
    for_each_package(operands, [this](const std::string &name) {
        for (const uci::change &each : store_.recorded(name)) {
            std::cout << (each.kind == uci::action::remove ? "-" : "") << name << '.' << each.section;
            if (!each.option.empty())
                std::cout << '.' << each.option;
            if (each.kind == uci::action::list_add)
                std::cout << '+';
            if (each.kind == uci::action::list_remove)
                std::cout << '-';
            if (each.value)
                std::cout << '=' << uci::quoted(*each.value);
            std::cout << '\n';
        }
    });
}

void command_line::commit(const arguments &operands) {
    for_each_package(operands, [this](const std::string &name) { store_.commit(name); });
}

// Runs every line; the status tells whether one of them failed.
void command_line::batch(const arguments &) {
    const std::string text = read_input();
    uci::lexer source(text);
    int worst = 0;
    for (std::vector<uci::word> words = source.next(); !words.empty(); words = source.next()) {
        arguments line;
        for (uci::word &each : words)
            line.push_back(std::move(each.text));
        worst = std::max(worst, run(line));
    }
    status_ = worst;
}

settings parse_options(int count, char **words) {
    settings result;
    opterr = 0;
    // "+": what follows the command is its own, a value that begins with "-" included.
    for (int letter = 0; (letter = getopt(count, words, "+c:d:p:P:t:nNqX")) != -1;) {
        switch (letter) {
        case 'c':
            result.folders.config = optarg;
            break;
        case 'd':
            result.delimiter = optarg;
            break;
        case 'p':
            result.folders.search.emplace_back(optarg);
            break;
        case 'P':
            result.folders.search.push_back(std::exchange(result.folders.delta, optarg));
            break;
        case 't':
            result.folders.delta = optarg;
            break;
        case 'n':
            result.name_anonymous = true;
            break;
        case 'N':
            result.name_anonymous = false;
            break;
        case 'q':
            result.quiet = true;
            break;
        case 'X':
            result.selectors = false;
            break;
        default:
            throw usage_error();
        }
    }
    return result;
}

} // namespace

int main(int count, char **words) {
    try {
        std::ios::sync_with_stdio(false);
        const settings given = parse_options(count, words);
        return command_line(given).run(arguments(words + optind, words + count));
    } catch (const usage_error &) {
        std::cerr << usage_text;
        return exit_usage;
    } catch (const std::exception &failure) {
        std::cerr << "uci: " << failure.what() << '\n';
        return 1;
    }
}
