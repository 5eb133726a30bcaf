// SPDX-License-Identifier: Apache-2.0
// The commands that change something, and what several commands take apart.
#include "devkit/uci/command/command_line.h"
#include "devkit/uci/format.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace uci {

namespace {

// Throws parse_error where more than a package is named.
std::string package_operand(const std::string &text) {
    path where = path_without_value(text);
    if (!where.section.empty())
        throw parse_error();
    return std::move(where.package);
}

} // namespace

path path_without_value(const std::string &text) {
    path where = parse_file_path(text);
    if (where.value)
        throw usage_error();
    return where;
}

std::string read_file_or_input(const settings &given, bool (*is_enough)(std::string_view)) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> named(
        given.input.empty() ? nullptr : std::fopen(given.input.c_str(), "re"), std::fclose);
    if (!given.input.empty() && !named)
        throw command_error{given.input + ": " + std::strerror(errno)};
    std::FILE *input = named ? named.get() : stdin;
    std::string text;
    char *line = nullptr;
    size_t room = 0;
    for (ssize_t length = 0; !is_enough(text) && (length = getline(&line, &room, input)) > 0;)
        text.append(line, static_cast<size_t>(length));
    std::free(line);
    if (std::ferror(input) != 0)
        throw io_error(errno);
    return text;
}

int command_line::record(action kind, const arguments &operands) {
    work_->record(kind, parse_file_path(operands.front()));
    return 0;
}

int command_line::add(const arguments &operands) {
    try {
        output_.print(work_->add(package_operand(operands[0]), operands[1]) + "\n");
        return 0;
    } catch (const error &failure) {
        fail(failure);
        return failure.code;
    }
}

int command_line::revert(const arguments &operands) {
    work_->revert(path_without_value(operands.front()));
    return 0;
}

void command_line::complain_in(const std::string &package, const error &failure) {
    const std::string file = file_of(place_of(settings_.where, package), std::string(package_name(package)));
    complain(failure.what() + std::string(" in ") + file);
}

// Runs on the package that is named, or on every one: then a broken one is passed over, and named.
int command_line::for_each_package(const arguments &operands, const std::function<void(const path &)> &act) {
    if (!operands.empty()) {
        act(path_without_value(operands.front()));
        return 0;
    }
    int status = 0;
    for (const std::string &name : package_names(checked(settings_.where))) {
        try {
            act({name, "", "", {}});
        } catch (const parse_error &failure) {
            complain_in(name, failure);
        } catch (const error &failure) {
            status = fail(failure);
        }
    }
    return status;
}

int command_line::commit(const arguments &operands) {
    const auto act = [this](const path &where) {
        if (settings_.commits)
            work_->commit(where.package);
        else
            work_->read(where.package);
    };
    if (operands.empty())
        return for_each_package(operands, act);
    const path where = path_without_value(operands.front());
    try {
        act(where);
        return 0;
    } catch (const parse_error &failure) {
        complain_in(where.package, failure);
        return 1;
    }
}

// False when there is no such package to add to.
bool command_line::merge(const std::string &name, const std::string &text) {
    try {
        work_->merge(name, text);
        return true;
    } catch (const not_found &) {
        return false;
    }
}

int command_line::import_text(const arguments &operands) {
    if (settings_.merge && operands.empty())
        throw usage_error();
    const std::string name = operands.empty() ? "" : package_operand(operands.front());
    const std::string text = read_input();
    if (operands.empty()) {
        for (const package &each : parse_export(text, tolerated()))
            work_->replace(each.name, each);
    } else if (!settings_.merge || !merge(name, text)) {
        work_->replace(name, parse_file(package_name(name), text, tolerated()));
    }
    return 0;
}

} // namespace uci
