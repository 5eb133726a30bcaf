// SPDX-License-Identifier: Apache-2.0
// What a request's JSON is: a recursive descent, a function a rule of the grammar.
#include "tests/fuzz/json_grammar.h"

#include <cstddef>
#include <cstdint>

namespace fuzz {

namespace {

struct no_json {};

void want(bool holds) {
    if (!holds)
        throw no_json();
}

class descent {
public:
    descent(std::string_view text, int max_nesting, bool nuls_are_fine)
        : rest_(text), left_(max_nesting), nuls_are_fine_(nuls_are_fine) {}

    void document() {
        blanks();
        want(peek() == '{');
        value();
        blanks();
        want(rest_.empty());
    }

private:
    // No text has the byte that stands for its end.
    int peek() const { return rest_.empty() ? -1 : static_cast<unsigned char>(rest_.front()); }

    unsigned take() {
        want(!rest_.empty());
        const auto first = static_cast<unsigned char>(rest_.front());
        rest_.remove_prefix(1);
        return first;
    }

    bool take_if(char c) {
        const bool is_next = rest_.starts_with(c);
        if (is_next)
            rest_.remove_prefix(1);
        return is_next;
    }

    void blanks() {
        while (take_if(' ') || take_if('\t') || take_if('\n') || take_if('\r')) {
        }
    }

    void word(std::string_view text) {
        want(rest_.starts_with(text));
        rest_.remove_prefix(text.size());
    }

    void value() {
        switch (peek()) {
        case '{':
            return members();
        case '[':
            return elements();
        case '"':
            return string();
        case 't':
            return word("true");
        case 'f':
            return word("false");
        case 'n':
            return word("null");
        default:
            return number();
        }
    }

    void members() {
        begin();
        if (!take_if('}')) {
            do {
                blanks();
                string();
                blanks();
                want(take_if(':'));
                blanks();
                value();
                blanks();
            } while (take_if(','));
            want(take_if('}'));
        }
        ++left_;
    }

    void elements() {
        begin();
        if (!take_if(']')) {
            do {
                blanks();
                value();
                blanks();
            } while (take_if(','));
            want(take_if(']'));
        }
        ++left_;
    }

    void begin() {
        want(left_-- > 0);
        take();
        blanks();
    }

    void string() {
        want(take_if('"'));
        while (!take_if('"')) {
            const unsigned first = take();
            if (first == '\\')
                escape();
            else if (first < 0x80)
                want(first >= 0x20);
            else
                multibyte(first);
        }
    }

    void escape() {
        const unsigned letter = take();
        if (letter == 'u') {
            unsigned code = 0;
            for (int digit = 0; digit < 4; ++digit)
                code = code * 16 + hexadecimal();
            want(code != 0 || nuls_are_fine_);
        } else {
            want(letter != '\0' &&
                 std::string_view("\"\\/bfnrt").find(static_cast<char>(letter)) != std::string_view::npos);
        }
    }

    unsigned hexadecimal() {
        const unsigned digit = take();
        if (digit >= '0' && digit <= '9')
            return digit - '0';
        const unsigned letter = digit | 0x20U;
        want(letter >= 'a' && letter <= 'f');
        return letter - 'a' + 10;
    }

    // By the value that the bytes stand for, and the least that takes so many.
    void multibyte(unsigned first) {
        const int more = first >= 0xf0 ? 3 : first >= 0xe0 ? 2 : 1;
        constexpr uint32_t least[] = {0, 0x80, 0x800, 0x10000};
        want(first >= 0xc0 && first < 0xf8);
        uint32_t code = first & (0x3fU >> more);
        for (int byte = 0; byte < more; ++byte) {
            const unsigned next = take();
            want((next & 0xc0U) == 0x80);
            code = code << 6U | (next & 0x3fU);
        }
        want(code >= least[more] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff));
    }

    void number() {
        take_if('-');
        if (!take_if('0'))
            digits();
        if (take_if('.'))
            digits();
        if (take_if('e') || take_if('E')) {
            if (!take_if('+'))
                take_if('-');
            digits();
        }
    }

    void digits() {
        want(is_digit());
        while (is_digit())
            take();
    }

    bool is_digit() const { return peek() >= '0' && peek() <= '9'; }

    std::string_view rest_;
    int left_; // levels
    bool nuls_are_fine_;
};

} // namespace

bool is_json_object(std::string_view text, int max_nesting, bool nuls_are_fine) {
    try {
        descent(text, max_nesting, nuls_are_fine).document();
        return true;
    } catch (const no_json &) {
        return false;
    }
}

} // namespace fuzz
