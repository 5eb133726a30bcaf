// SPDX-License-Identifier: Apache-2.0
// Splits a configuration file, a delta file or a batch of commands into commands of words.
#include "devkit/uci/lexer.h"

#include "devkit/uci/error.h"
#include "devkit/uci/text.h"

namespace uci {

char lexer::take() {
    const char c = text_[position_++];
    if (c == '\n') {
        ++line_;
        line_start_ = position_;
    }
    return c;
}

// A backslash before a line end joins the two lines, bare and in double quotes.
bool lexer::skip_line_join() {
    const std::string_view rest = text_.substr(position_);
    if (!rest.starts_with("\\\n") && !rest.starts_with("\\\r\n"))
        return false;
    while (take() != '\n') {
    }
    return true;
}

void lexer::skip_comment() {
    while (!at_end() && peek() != '\n')
        take();
}

void lexer::read_escaped(std::string &out) {
    if (skip_line_join())
        return;
    take();
    if (!at_end())
        out += take();
}

void lexer::read_single_quoted(std::string &out) {
    const size_t line = line_;
    const size_t byte = position_ - line_start_;
    take();
    while (!at_end()) {
        const char c = take();
        if (c == '\'')
            return;
        out += c;
    }
    throw parse_error("EOF with unterminated '", line, byte);
}

void lexer::read_double_quoted(std::string &out) {
    const size_t line = line_;
    const size_t byte = position_ - line_start_;
    take();
    while (!at_end()) {
        if (peek() == '\\') {
            read_escaped(out);
            continue;
        }
        const char c = take();
        if (c == '"')
            return;
        out += c;
    }
    throw parse_error("EOF with unterminated \"", line, byte);
}

word lexer::read_word() {
    word result{"", line_, position_ - line_start_};
    while (!at_end()) {
        const char c = peek();
        if (is_space(c) || c == ';' || c == '#')
            break;
        if (c == '\'')
            read_single_quoted(result.text);
        else if (c == '"')
            read_double_quoted(result.text);
        else if (c == '\\')
            read_escaped(result.text);
        else
            result.text += take();
    }
    return result;
}

std::vector<word> lexer::next() {
    std::vector<word> words;
    while (!at_end()) {
        const char c = peek();
        if (c == '\n' || c == ';') {
            take();
            consumed_ = position_;
            if (!words.empty())
                return words;
        } else if (c == '#') {
            skip_comment();
        } else if (is_space(c)) {
            take();
        } else if (!skip_line_join()) {
            words.push_back(read_word());
        }
    }
    if (words.empty())
        consumed_ = position_;
    return words;
}

} // namespace uci
