// SPDX-License-Identifier: Apache-2.0
// The commands of `uci`, on the command line or one a line in a batch.
#pragma once

#include "devkit/uci/command/options.h"
#include "devkit/uci/command/output.h"
#include "devkit/uci/error.h"
#include "devkit/uci/transaction.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace uci {

using arguments = std::vector<std::string>;

class command_line {
public:
    explicit command_line(settings given) : settings_(std::move(given)) {}

    // Runs one command; the exit status. Errors are printed here.
    int run(const arguments &words);

private:
    struct command;
    static const command *find_command(std::string_view name);

    // Each gives its exit status.
    int get(const arguments &operands);
    int set(const arguments &operands) { return record(action::set, operands); }
    int add(const arguments &operands);
    int add_to_list(const arguments &operands) { return record(action::list_add, operands); }
    int remove_from_list(const arguments &operands) { return record(action::list_remove, operands); }
    int remove(const arguments &operands) { return record(action::remove, operands); }
    int rename(const arguments &operands) { return record(action::rename, operands); }
    int reorder(const arguments &operands) { return record(action::reorder, operands); }
    int revert(const arguments &operands);
    int show(const arguments &operands);
    int export_text(const arguments &operands);
    int import_text(const arguments &operands);
    int changes(const arguments &operands);
    int commit(const arguments &operands);
    int batch(const arguments &operands);
    int help(const arguments &operands);

    int run_guarded(const arguments &words);
    int dispatch(const arguments &words);
    int finish(int status);
    void complain(const std::string &text);
    void complain_in(const std::string &package, const error &failure);
    int fail(const error &failure);

    int record(action kind, const arguments &operands);
    int for_each_package(const arguments &operands, const std::function<void(const path &)> &act);
    void show_package(const package &content, std::string &text) const;
    void show_section(const std::string &prefix, const section &shown, std::string &text) const;
    void show_option(const std::string &prefix, const option &shown, std::string &text) const;
    void show_change(const std::string &package, const change &shown);
    bool writes(std::string_view batch_text) const;
    void run_lines(std::string_view batch_text);
    bool is_in_batch() const { return batch_rest_.has_value(); }
    std::string read_input();
    bool merge(const std::string &name, const std::string &text);
    tolerance tolerated();

    settings settings_;
    output output_;
    std::optional<transaction> work_;
    std::optional<std::string_view> batch_rest_; // of the batch that is being run
    bool has_io_error_ = false;
};

// Throws usage_error where a value follows.
path path_without_value(const std::string &text);

// What the options say to read, to its end or to the first line end at which it is enough.
std::string read_file_or_input(const settings &given, bool (*is_enough)(std::string_view));

} // namespace uci
