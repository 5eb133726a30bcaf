// SPDX-License-Identifier: Apache-2.0
// Splits a configuration file, a delta file or a batch of commands into commands of words.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace uci {

struct word {
    std::string_view text; // until the lexer reads the next command
    size_t offset;         // where the word begins in the lexer's text
};

// A command ends at a line feed or an unquoted ";", a line also at a NUL. The text must outlive the lexer.
class lexer {
public:
    explicit lexer(std::string_view text)
        : text_(text), has_nul_(text.find('\0') != std::string_view::npos) {}

    // The words of the next command that has any; none at the end of the text.
    // Throws parse_error for a quote that is not closed.
    const std::vector<word> &next();

    // How much of the text the commands took that had an end so far. Once there is no command left, all of
    // it.
    size_t consumed() const { return consumed_; }

    // Where the command begins that was read last, also when that failed; without one the end of the text.
    size_t begun() const { return begun_; }

    // What was not read yet.
    std::string_view rest() const { return text_.substr(position_); }

    // Leaves out what follows the last command on its line.
    void skip_line();

    // Throws parse_error with the place of the word.
    [[noreturn]] void fail(const char *reason, const word &where) const { fail_at(reason, where.offset); }

private:
    // From `single` on part of a word.
    enum class mark : unsigned char { none, blank, line_end, separator, comment, nul, single, twice, escape };

    static mark mark_of(char c);
    void skip_plain();
    word read_word();
    std::string_view read_pieces(size_t begin);
    void read_single_quoted(std::string &out);
    void read_double_quoted(std::string &out);
    void read_escaped(std::string &out);
    size_t find_single(size_t from) const;
    bool ends_word(size_t at) const;
    bool skip_line_join();
    void skip_to_line_end();
    [[noreturn]] void fail_at(const char *reason, size_t offset) const;
    bool at_end() const { return position_ == text_.size(); }
    mark peek() const { return mark_of(text_[position_]); }

    std::string_view text_;
    bool has_nul_;
    size_t position_ = 0;
    size_t consumed_ = 0;
    size_t begun_ = 0;
    std::vector<word> words_;
    std::deque<std::string> joined_; // words of several pieces
};

} // namespace uci
