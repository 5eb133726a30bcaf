// SPDX-License-Identifier: Apache-2.0
// Says in Perl's dialect what a pattern of the plug-in's means. A recursive descent over the grammar of POSIX
// extended expressions with \d \D \s \S \w \W; bracket expressions are worked out to the set of bytes that
// they match.
#include "tests/fuzz/posix_pattern.h"

#include <algorithm>
#include <bitset>
#include <cctype>
#include <utility>

namespace fuzz {

namespace {

using byte_set = std::bitset<256>;

struct left_open {
    meaning kind;
    const char *reason;
};

[[noreturn]] void undefined(const char *reason) { throw left_open{meaning::undefined, reason}; }
[[noreturn]] void invalid(const char *reason) { throw left_open{meaning::invalid, reason}; }

struct named_class {
    std::string_view name;
    int (*holds)(int);
};

// The program never leaves the C locale, in which no byte beyond ASCII is in a class.
constexpr named_class classes[] = {
    {"alnum", isalnum}, {"alpha", isalpha}, {"blank", isblank}, {"cntrl", iscntrl},
    {"digit", isdigit}, {"graph", isgraph}, {"lower", islower}, {"print", isprint},
    {"punct", ispunct}, {"space", isspace}, {"upper", isupper}, {"xdigit", isxdigit},
};

byte_set named(std::string_view name) {
    const auto *found = std::ranges::find(classes, name, &named_class::name);
    if (found == std::end(classes))
        invalid("no class has this name");
    byte_set set;
    for (int byte = 1; byte < 128; ++byte)
        set[static_cast<size_t>(byte)] = found->holds(byte) != 0;
    return set;
}

bool is_class_letter(char letter) {
    return std::string_view("dDsSwW").find(letter) != std::string_view::npos;
}

bool is_negated(char letter) { return letter == 'D' || letter == 'S' || letter == 'W'; }

// What \d and its like match: a class, or every byte that is not in it.
byte_set escaped(char letter) {
    byte_set set = named(letter == 'd' || letter == 'D'   ? "digit"
                         : letter == 's' || letter == 'S' ? "space"
                                                          : "alnum");
    set['_'] = letter == 'w' || letter == 'W';
    return is_negated(letter) ? ~set : set;
}

std::string byte_text(size_t byte) {
    constexpr char digits[] = "0123456789abcdef";
    return {'\\', 'x', digits[byte / 16], digits[byte % 16]};
}

std::string class_of(const byte_set &set) {
    std::string text = "[";
    for (size_t first = 1; first < set.size(); ++first) {
        if (!set[first])
            continue;
        size_t last = first;
        while (last + 1 < set.size() && set[last + 1])
            ++last;
        text += byte_text(first) + "-" + byte_text(last);
        first = last;
    }
    return text.size() == 1 ? "(?!)" : text + "]";
}

std::string single(char byte) { return byte_text(static_cast<unsigned char>(byte)); }

class descent {
public:
    explicit descent(std::string_view pattern) : rest_(pattern) {}

    std::string whole() {
        std::string result = alternatives();
        if (!rest_.empty())
            undefined("a parenthesis is closed that was not opened");
        return result;
    }

private:
    char peek() const { return rest_.empty() ? '\0' : rest_.front(); }

    char take() {
        const char first = peek();
        rest_.remove_prefix(1);
        return first;
    }

    bool take_if(std::string_view text) {
        if (!rest_.starts_with(text))
            return false;
        rest_.remove_prefix(text.size());
        return true;
    }

    std::string alternatives() {
        std::string result = "(?:" + branch();
        while (take_if("|"))
            result += "|" + branch();
        return result + ")";
    }

    std::string branch() {
        if (rest_.empty() || peek() == '|' || peek() == ')')
            undefined("an empty branch");
        std::string result;
        while (!rest_.empty() && peek() != '|' && peek() != ')')
            result += piece();
        return result;
    }

    std::string piece() {
        const bool outer = std::exchange(has_anchor_, false);
        const bool is_anchor = peek() == '^' || peek() == '$';
        std::string result = atom();
        if (!rest_.empty() && std::string_view("*+?{").find(peek()) != std::string_view::npos) {
            if (is_anchor)
                undefined("a repeated anchor");
            result += repetition();
        }
        if (!rest_.empty() && std::string_view("*+?{").find(peek()) != std::string_view::npos)
            undefined("a repeated repetition");
        has_anchor_ = has_anchor_ || outer;
        return result;
    }

    std::string atom() {
        switch (const char first = take()) {
        case '(':
            return group();
        case '[':
            return bracket();
        case '\\':
            return escape();
        case '^':
        case '$':
            has_anchor_ = true;
            return {first};
        case '.':
            return ".";
        case '*':
        case '+':
        case '?':
        case '{':
            undefined("a repetition of nothing");
        default:
            return single(first);
        }
    }

    std::string group() {
        std::string result = alternatives();
        if (!take_if(")"))
            invalid("a parenthesis is not closed");
        return result;
    }

    std::string escape() {
        if (rest_.empty())
            invalid("a backslash at the end");
        const char letter = take();
        if (is_class_letter(letter)) {
            byte_set set = escaped(letter);
            if (is_negated(letter))
                set.reset('\n');
            return class_of(set);
        }
        if (std::string_view("^.[$()|*+?{\\/").find(letter) == std::string_view::npos)
            undefined("a backslash before an ordinary character");
        return single(letter);
    }

    std::string repetition() {
        const char kind = take();
        // The C library copies what an interval repeats, and an anchor in it does not hold in every copy.
        if (has_anchor_ && (kind == '{' || kind == '+'))
            undefined("an anchor in what is repeated by copying");
        return kind == '{' ? interval() : std::string{kind};
    }

    int number() {
        size_t digits = 0;
        while (digits < rest_.size() && rest_[digits] >= '0' && rest_[digits] <= '9')
            ++digits;
        if (digits == 0 || digits > 3)
            undefined("an interval without a number, or with a huge one");
        const int value = std::stoi(std::string(rest_.substr(0, digits)));
        rest_.remove_prefix(digits);
        return value;
    }

    std::string interval() {
        const int least = number();
        int most = least;
        if (take_if(","))
            most = peek() == '}' ? -1 : number();
        if (!take_if("}"))
            undefined("an interval that is not closed");
        if (least > 255 || most > 255)
            undefined("an interval beyond what every C library takes");
        if (most >= 0 && least > most)
            invalid("an interval that runs backwards");
        return "{" + std::to_string(least) + "," + (most < 0 ? "" : std::to_string(most)) + "}";
    }

    std::string bracket() {
        const bool inverted = take_if("^");
        byte_set set;
        bool has_negated = false;
        for (bool first = true; first || peek() != ']'; first = false) {
            if (rest_.empty())
                invalid("a bracket is not closed");
            has_negated = element(set) || has_negated;
        }
        take();
        if (inverted)
            set.flip();
        if (inverted || has_negated)
            set.reset('\n');
        return class_of(set);
    }

    // Adds one element of a bracket; whether it is a negated class.
    bool element(byte_set &set) {
        if (rest_.starts_with("[:") || rest_.starts_with("[=") || rest_.starts_with("[.")) {
            set |= enclosed();
            return false;
        }
        const char first = take();
        if (first == '\\' && !rest_.empty() && is_class_letter(peek())) {
            refuse_range();
            const char letter = take();
            set |= escaped(letter);
            refuse_range();
            return is_negated(letter);
        }
        if (first == '\\' && peek() == '/')
            return element(set);
        if (first == '\\' && peek() == '\\') {
            take();
            refuse_range();
        }
        range(set, first);
        return false;
    }

    bool is_range() const { return rest_.size() >= 2 && rest_[0] == '-' && rest_[1] != ']'; }

    void refuse_range() const {
        if (is_range())
            undefined("a range that begins with a class");
    }

    void range(byte_set &set, char first) {
        const auto begin = static_cast<unsigned char>(first);
        if (!is_range()) {
            set.set(begin);
            return;
        }
        take();
        const char last = take();
        if ((last == '[' && std::string_view(":=.").find(peek()) != std::string_view::npos) || last == '\\')
            undefined("a range that ends with what is no character");
        const auto end = static_cast<unsigned char>(last);
        if (begin > end)
            invalid("a range that runs backwards");
        for (unsigned byte = begin; byte <= end; ++byte)
            set.set(byte);
        if (is_range())
            undefined("a range that begins where another ends");
    }

    // "[:name:]", "[=x=]" or "[.x.]".
    byte_set enclosed() {
        const char kind = rest_[1];
        rest_.remove_prefix(2);
        const size_t end = rest_.find(std::string{kind, ']'});
        if (end == std::string_view::npos)
            undefined("a class that is not closed");
        const std::string_view name = rest_.substr(0, end);
        rest_.remove_prefix(end + 2);
        refuse_range();
        if (kind == ':')
            return named(name);
        undefined("a collating element");
    }

    std::string_view rest_;
    bool has_anchor_ = false; // in the piece at hand
};

} // namespace

translation translate(std::string_view pattern) {
    try {
        return {meaning::defined, descent(pattern).whole(), nullptr};
    } catch (const left_open &found) {
        return {found.kind, "", found.reason};
    }
}

bool is_affordable(std::string_view pattern) {
    constexpr size_t most_copies = 512;
    constexpr size_t most_in_a_row = 3;
    size_t in_a_row = 0; // repetitions
    size_t copies = 1;
    for (size_t at = 0; at < pattern.size(); ++at) {
        if (pattern[at] == '\\' && at + 1 < pattern.size() && pattern[at + 1] >= '1' &&
            pattern[at + 1] <= '9')
            return false;
        in_a_row = std::string_view("*+?{").find(pattern[at]) == std::string_view::npos ? 0 : in_a_row + 1;
        if (in_a_row > most_in_a_row)
            return false;
        size_t factor = pattern[at] == '+' ? 2 : 1;
        if (pattern[at] == '{' || pattern[at] == ',') {
            size_t number = 0;
            for (size_t digit = at + 1;
                 digit < pattern.size() && isdigit(static_cast<unsigned char>(pattern[digit])); ++digit)
                number =
                    std::min<size_t>(number * 10 + static_cast<size_t>(pattern[digit] - '0'), most_copies);
            factor = number + 1;
        }
        copies = std::min(copies * factor, most_copies + 1);
    }
    return copies <= most_copies;
}

} // namespace fuzz
