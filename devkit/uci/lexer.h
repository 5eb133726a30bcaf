// SPDX-License-Identifier: Apache-2.0
// Splits a configuration file, a delta file or a batch of commands into commands of words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace uci {

struct word {
    std::string text;
    size_t line; // where the word begins: line from 1,
    size_t byte; // byte within the line from 0
};

// A command ends at a line feed or an unquoted ";". The text must outlive the lexer.
class lexer {
public:
    explicit lexer(std::string_view text) : text_(text) {}

    // The words of the next command that has any; none at the end of the text.
    // Throws parse_error for a quote that is not closed.
    std::vector<word> next();

    // How much of the text the commands took that had an end so far. Once there is no command left, all of
    // it.
    size_t consumed() const { return consumed_; }

private:
    word read_word();
    void read_single_quoted(std::string &out);
    void read_double_quoted(std::string &out);
    void read_escaped(std::string &out);
    void skip_comment();
    bool skip_line_join();
    char take();
    bool at_end() const { return position_ == text_.size(); }
    char peek() const { return text_[position_]; }

    std::string_view text_;
    size_t position_ = 0;
    size_t consumed_ = 0;
    size_t line_ = 1;
    size_t line_start_ = 0;
};

} // namespace uci
