// SPDX-License-Identifier: Apache-2.0
// Patterns that mean something, out of any bytes.
#include "tests/fuzz/pattern_grammar.h"

#include <array>

namespace fuzz {

namespace {

// clang-format off
constexpr std::array atoms{
    "a", "b", "0", "_", ".", "\\d", "\\D", "\\s", "\\S", "\\w", "\\W", "\\/", "\\.", "\\\\", "\\{", "-", "]", "\xe9",
    "[ab]", "[^a]", "[]a]", "[^]a]", "[a-c]", "[-a]", "[a-]", "[\\d]", "[^\\d]", "[\\D]", "[^\\D]", "[\\w-]", "[^\\w\\W]",
    "[\\s\\S]", "[\\D0]", "[^\\S_]", "[\\/a]", "[\\\\]", "[[:alpha:]\\d]", "[^[:space:]\\W]", "[[:punct:]]", "[\xc3\xa9]",
    "[.]", "[$^]", "[^\\s]", "[\\W_]", "[\\d\\D]", "[!-~]",
};
constexpr std::array repetitions{"*", "+", "?", "{2}", "{0,2}", "{1,3}", "{2,}", "{0}", "{0,}", "{1}"};
constexpr std::array characters{'a', 'b', 'c', '0', '7', '_', ' ', '\t', '-', ']', '/', '.', '\\', '\n', '\xe9', '\xc3'};
// clang-format on

struct growing {
    std::string text;
    size_t open = 0;      // groups
    bool is_empty = true; // the branch
    bool can_repeat = false;
};

void add_atom(growing &pattern, const char *atom) {
    pattern.text += atom;
    pattern.is_empty = false;
    pattern.can_repeat = true;
}

void begin_branch(growing &pattern, const char *mark) {
    pattern.text += mark;
    pattern.is_empty = true;
    pattern.can_repeat = false;
}

void close_group(growing &pattern) {
    if (pattern.is_empty)
        add_atom(pattern, "a");
    add_atom(pattern, ")");
    --pattern.open;
}

void add_anchor(growing &pattern, const char *anchor) {
    pattern.text += anchor;
    pattern.is_empty = false;
    pattern.can_repeat = false;
}

void add_piece(growing &pattern, size_t choice) {
    if (choice < atoms.size()) {
        add_atom(pattern, atoms[choice]);
    } else if (choice -= atoms.size(); choice < repetitions.size()) {
        if (pattern.can_repeat)
            pattern.text += repetitions[choice];
        pattern.can_repeat = false;
    } else if (choice -= repetitions.size(); choice < 3) {
        begin_branch(pattern, "(");
        ++pattern.open;
    } else if (choice < 6) {
        if (pattern.open != 0)
            close_group(pattern);
    } else if (choice < 8) {
        if (!pattern.is_empty)
            begin_branch(pattern, "|");
    } else {
        add_anchor(pattern, choice == 8 ? "^" : "$");
    }
}

constexpr size_t longest_text = 24;
constexpr size_t most_pieces = 24;
constexpr size_t pieces = atoms.size() + repetitions.size() + 10;

} // namespace

std::string grow_pattern(std::string_view choices) {
    growing pattern;
    for (const char choice : choices.substr(0, most_pieces))
        add_piece(pattern, static_cast<unsigned char>(choice) % pieces);
    if (pattern.is_empty)
        add_atom(pattern, "a");
    while (pattern.open != 0)
        close_group(pattern);
    return pattern.text;
}

std::string grow_text(std::string_view choices) {
    std::string text;
    for (const char choice : choices.substr(0, longest_text))
        text += characters[static_cast<unsigned char>(choice) % characters.size()];
    return text;
}

} // namespace fuzz
