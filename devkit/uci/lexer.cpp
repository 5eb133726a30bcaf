// SPDX-License-Identifier: Apache-2.0
// Splits a configuration file, a delta file or a batch of commands into commands of words.
#include "devkit/uci/lexer.h"

#include "devkit/uci/error.h"

#include <algorithm>
#include <array>

namespace uci {

// What a character means outside quotes.
lexer::mark lexer::mark_of(char c) {
    static constexpr auto marks = [] {
        std::array<mark, 256> table{};
        for (const char blank : {' ', '\t', '\r', '\v', '\f'})
            table[static_cast<unsigned char>(blank)] = mark::blank;
        table['\n'] = mark::line_end;
        table[';'] = mark::separator;
        table['#'] = mark::comment;
        table['\0'] = mark::nul;
        table['\''] = mark::single;
        table['"'] = mark::twice;
        table['\\'] = mark::escape;
        return table;
    }();
    return marks[static_cast<unsigned char>(c)];
}

void lexer::fail_at(const char *reason, size_t offset) const {
    const std::string_view before = text_.substr(0, offset);
    const auto lines = static_cast<size_t>(std::ranges::count(before, '\n'));
    throw parse_error(reason, lines + 1, offset - (before.rfind('\n') + 1));
}

// What follows a NUL on its line is not there.
void lexer::skip_to_line_end() { position_ = std::min(text_.find('\n', position_), text_.size()); }

void lexer::skip_line() {
    if (consumed_ != 0 && text_[consumed_ - 1] == '\n')
        return;
    skip_to_line_end();
}

// A backslash before a line end joins the two lines, bare and in double quotes.
bool lexer::skip_line_join() {
    size_t end = position_ + 1;
    if (end < text_.size() && text_[end] == '\r')
        ++end;
    if (end == text_.size() || (text_[end] != '\n' && text_[end] != '\0'))
        return false;
    position_ = end;
    skip_to_line_end();
    position_ += at_end() ? 0 : 1;
    return true;
}

void lexer::read_escaped(std::string &out) {
    if (skip_line_join())
        return;
    ++position_;
    if (!at_end())
        out += text_[position_++];
}

// The next single quote or NUL.
size_t lexer::find_single(size_t from) const {
    const size_t quote = text_.find('\'', from);
    return has_nul_ ? std::min(quote, text_.find('\0', from)) : quote;
}

void lexer::read_single_quoted(std::string &out) {
    const size_t begin = position_++;
    while (!at_end()) {
        const size_t piece = position_;
        position_ = std::min(find_single(piece), text_.size());
        out += text_.substr(piece, position_ - piece);
        if (!at_end() && text_[position_++] == '\'')
            return;
        skip_to_line_end();
    }
    fail_at("EOF with unterminated '", begin);
}

void lexer::read_double_quoted(std::string &out) {
    const size_t begin = position_++;
    while (!at_end()) {
        const mark found = peek();
        if (found == mark::escape) {
            read_escaped(out);
        } else if (found == mark::nul) {
            skip_to_line_end();
        } else {
            const char c = text_[position_++];
            if (found == mark::twice)
                return;
            out += c;
        }
    }
    fail_at("EOF with unterminated \"", begin);
}

// A word of quotes, escapes and plain pieces, or what of it follows a plain one.
std::string_view lexer::read_pieces(size_t begin) {
    std::string &out = joined_.emplace_back(text_.substr(begin, position_ - begin));
    while (!at_end()) {
        const size_t plain = position_;
        skip_plain();
        out += text_.substr(plain, position_ - plain);
        if (at_end())
            break;
        const mark found = peek();
        if (found == mark::single)
            read_single_quoted(out);
        else if (found == mark::twice)
            read_double_quoted(out);
        else if (found == mark::escape)
            read_escaped(out);
        else
            break;
    }
    return out;
}

void lexer::skip_plain() {
    while (!at_end() && peek() == mark::none)
        ++position_;
}

bool lexer::ends_word(size_t at) const {
    return at == text_.size() || (mark_of(text_[at]) != mark::none && mark_of(text_[at]) < mark::single);
}

// Most words are plain or one quoted piece, and are taken from the text as they stand.
word lexer::read_word() {
    const size_t begin = position_;
    if (peek() == mark::single) {
        const size_t end = find_single(begin + 1);
        if (end != std::string_view::npos && text_[end] == '\'' && ends_word(end + 1)) {
            position_ = end + 1;
            return {text_.substr(begin + 1, end - begin - 1), begin};
        }
    }
    skip_plain();
    if (ends_word(position_))
        return {text_.substr(begin, position_ - begin), begin};
    return {read_pieces(begin), begin};
}

const std::vector<word> &lexer::next() {
    words_.clear();
    joined_.clear();
    while (!at_end()) {
        switch (peek()) {
        case mark::line_end:
        case mark::separator:
            consumed_ = ++position_;
            if (!words_.empty())
                return words_;
            break;
        case mark::comment:
        case mark::nul:
            skip_to_line_end();
            break;
        case mark::blank:
            ++position_;
            break;
        case mark::escape:
            if (skip_line_join())
                break;
            [[fallthrough]];
        default:
            begun_ = words_.empty() ? position_ : begun_;
            words_.push_back(read_word());
        }
    }
    if (words_.empty())
        consumed_ = begun_ = position_;
    return words_;
}

} // namespace uci
