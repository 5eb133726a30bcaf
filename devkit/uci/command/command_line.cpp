// SPDX-License-Identifier: Apache-2.0
// Which commands there are, and how one of them is run.
#include "devkit/uci/command/command_line.h"

#include "devkit/uci/lexer.h"

#include <algorithm>
#include <array>
#include <exception>
#include <utility>

#include <strings.h>

namespace uci {

struct command_line::command {
    const char *name; // in letters of any case
    size_t least, most;
    file::access access;
    int (command_line::*run)(const arguments &operands);
};

const command_line::command *command_line::find_command(std::string_view name) {
    constexpr auto reads = file::access::shared;
    constexpr auto writes = file::access::exclusive;
    // clang-format off
    static constexpr std::array<command, 18> commands{{
        // name      operands  access
        {"get",      1, 1,     reads,  &command_line::get},
        {"set",      1, 1,     writes, &command_line::set},
        {"add",      2, 2,     writes, &command_line::add},
        {"add_list", 1, 1,     writes, &command_line::add_to_list},
        {"del_list", 1, 1,     writes, &command_line::remove_from_list},
        {"delete",   1, 1,     writes, &command_line::remove},
        {"del",      1, 1,     writes, &command_line::remove},
        {"rename",   1, 1,     writes, &command_line::rename},
        {"ren",      1, 1,     writes, &command_line::rename},
        {"reorder",  1, 1,     writes, &command_line::reorder},
        {"revert",   1, 1,     writes, &command_line::revert},
        {"show",     0, 1,     reads,  &command_line::show},
        {"export",   0, 1,     reads,  &command_line::export_text},
        {"import",   0, 1,     writes, &command_line::import_text},
        {"changes",  0, 1,     reads,  &command_line::changes},
        {"commit",   0, 1,     writes, &command_line::commit},
        {"batch",    0, 0,     reads,  &command_line::batch},
        {"help",     0, 99,    reads,  &command_line::help},
    }};
    // clang-format on
    const auto found = std::ranges::find_if(
        commands, [&](const command &each) { return strcasecmp(each.name, std::string(name).c_str()) == 0; });
    return found == commands.end() ? nullptr : &*found;
}

namespace {

bool is_exit(std::string_view word) { return strcasecmp(std::string(word).c_str(), "exit") == 0; }

bool is_never_enough(std::string_view) { return false; }

std::string_view last_line(std::string_view text) {
    text.remove_suffix(text.ends_with('\n') ? 1 : 0);
    return text.substr(text.rfind('\n') + 1);
}

// Whether a batch has come to its `exit`, so that nobody need wait for its input to end. What may be text of
// an import is left to the end.
bool ends_with_exit(std::string_view batch_text) {
    const std::string_view line = last_line(batch_text);
    const size_t first = line.find_first_not_of(" \t");
    if (first == std::string_view::npos || !is_exit(line.substr(first, 4)))
        return false;
    lexer source(batch_text);
    bool has_exit = false;
    try {
        for (const std::vector<word> *words = &source.next(); !words->empty(); words = &source.next()) {
            if (strcasecmp(std::string(words->front().text).c_str(), "import") == 0)
                return false;
            has_exit = is_exit(words->front().text);
        }
    } catch (const parse_error &) {
        return false;
    }
    return has_exit;
}

} // namespace

void command_line::complain(const std::string &text) {
    if (!settings_.quiet)
        output_.complain("uci: " + text + "\n");
}

int command_line::fail(const error &failure) {
    has_io_error_ = has_io_error_ || dynamic_cast<const io_error *>(&failure) != nullptr;
    complain(failure.what());
    return 1;
}

int command_line::dispatch(const arguments &words) {
    const command *found = words.empty() ? nullptr : find_command(words.front());
    if (found == nullptr || words.size() - 1 < found->least || words.size() - 1 > found->most)
        throw usage_error();
    if (!work_)
        work_.emplace(settings_.where, found->access, tolerated());
    return (this->*found->run)({words.begin() + 1, words.end()});
}

int command_line::run_guarded(const arguments &words) {
    try {
        return dispatch(words);
    } catch (const error &failure) {
        return fail(failure);
    } catch (const command_error &failure) {
        complain(failure.text);
        return 1;
    } catch (const usage_error &) {
        if (is_in_batch())
            complain("Unknown command");
        else if (!settings_.quiet)
            output_.complain(usage_text);
        return exit_usage;
    }
}

// Writes what was recorded, then prints what tells of it.
int command_line::finish(int status) {
    try {
        if (work_)
            work_->end();
    } catch (const error &failure) {
        status = fail(failure);
    }
    if (work_ && work_->has_lost_changes())
        output_.withdraw();
    work_.reset();
    if (!output_.flush()) {
        complain("I/O error (standard output)");
        output_.flush();
        status = 1;
    }
    return status;
}

int command_line::run(const arguments &words) {
    try {
        return finish(run_guarded(words));
    } catch (const std::exception &failure) {
        complain(failure.what());
        output_.flush();
        return 1;
    }
}

int command_line::help(const arguments &) {
    output_.complain(usage_text);
    return 0;
}

// In a batch what the batch has left.
std::string command_line::read_input() {
    if (!is_in_batch())
        return read_file_or_input(settings_, is_never_enough);
    return std::string(std::exchange(*batch_rest_, {}));
}

tolerance command_line::tolerated() {
    if (settings_.strict)
        return {};
    return [this](const error &problem) { complain(problem.what()); };
}

// Whether any line of a batch may change something.
bool command_line::writes(std::string_view batch_text) const {
    lexer source(batch_text);
    try {
        for (const std::vector<word> *words = &source.next(); !words->empty(); words = &source.next())
            if (const command *found = find_command(words->front().text);
                found != nullptr && found->access == file::access::exclusive)
                return true;
    } catch (const parse_error &) {
        return false;
    }
    return false;
}

void command_line::run_lines(std::string_view batch_text) {
    lexer source(batch_text);
    for (const std::vector<word> *words = &source.next(); !words->empty(); words = &source.next()) {
        arguments line;
        for (const word &each : *words)
            line.emplace_back(each.text);
        if (is_exit(line.front()))
            return;
        batch_rest_ = source.rest();
        run_guarded(line);
        if (batch_rest_->size() != source.rest().size())
            return; // it was an import's
    }
}

// Runs every line, whatever becomes of the ones before it, in one transaction. Only when a disk fails does
// the status say so.
int command_line::batch(const arguments &) {
    if (is_in_batch())
        throw usage_error();
    const std::string text = read_file_or_input(settings_, ends_with_exit);
    work_.emplace(settings_.where, writes(text) ? file::access::exclusive : file::access::shared,
                  tolerated());
    batch_rest_ = text;
    try {
        run_lines(text);
    } catch (const parse_error &failure) {
        fail(failure);
    }
    batch_rest_.reset();
    return has_io_error_ ? 1 : 0;
}

} // namespace uci
