// Text rules: UTF-8, percent escapes, and what the JSON parser is too lenient about.
#include "devkit/apid/text.h"

#include <charconv>

namespace apid {

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

struct utf8_form {
    unsigned char first_low, first_high;   // range of the first byte
    unsigned char second_low, second_high; // range of the second; the others are 80 to BF
    size_t length;
};

// clang-format off
constexpr utf8_form multibyte_forms[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3}, // no overlong form
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3}, // no surrogate
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4}, // up to U+10FFFF
};
// clang-format on

bool within(char byte, unsigned char low, unsigned char high) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= low && value <= high;
}

bool fits(std::string_view text, const utf8_form &form) {
    if (text.size() < form.length || !within(text[0], form.first_low, form.first_high) ||
        !within(text[1], form.second_low, form.second_high))
        return false;
    for (size_t i = 2; i < form.length; ++i)
        if (!within(text[i], 0x80, 0xBF))
            return false;
    return true;
}

// Bytes of the character that the text begins with; 0 when it is not well-formed.
size_t character_length(std::string_view text) {
    if (within(text[0], 0x00, 0x7F))
        return 1;
    for (const utf8_form &form : multibyte_forms)
        if (fits(text, form))
            return form.length;
    return 0;
}

// Bytes up to the first one that is no part of well-formed UTF-8.
size_t well_formed_length(std::string_view text) {
    size_t at = 0;
    while (at < text.size()) {
        const size_t length = character_length(text.substr(at));
        if (length == 0)
            break;
        at += length;
    }
    return at;
}

// Whether the text, outside of strings, begins with what only json-c takes for JSON.
bool is_lenient(std::string_view text) {
    const bool is_point_of_fraction = text.size() > 1 && within(text[1], '0', '9');
    return text[0] == '\'' || text[0] == 'N' || text[0] == 'I' || (text[0] == '.' && !is_point_of_fraction);
}

} // namespace

bool is_utf8(std::string_view text) { return well_formed_length(text) == text.size(); }

std::string repair_utf8(std::string_view text) {
    std::string repaired;
    repaired.reserve(text.size());
    for (;;) {
        const size_t good = well_formed_length(text);
        repaired.append(text.substr(0, good));
        if (good == text.size())
            return repaired;
        repaired.append(replacement);
        text.remove_prefix(good + 1);
    }
}

size_t decode_percent(char *text) {
    char *out = text;
    for (const char *in = text; *in != '\0'; ++in) {
        unsigned char byte = 0;
        if (*in == '%' && in[1] != '\0' && std::from_chars(in + 1, in + 3, byte, 16).ptr == in + 3 &&
            byte != 0) {
            *out++ = static_cast<char>(byte);
            in += 2;
        } else {
            *out++ = *in;
        }
    }
    *out = '\0';
    return static_cast<size_t>(out - text);
}

bool is_plain_json(std::string_view text) {
    bool in_string = false;
    for (size_t at = 0; at < text.size(); ++at) {
        const char c = text[at];
        if (c == '"') {
            in_string = !in_string;
        } else if (c == '\\') {
            if (text.substr(at).starts_with("\\u0000"))
                return false;
            ++at; // the escaped character is not looked at
        } else if (in_string ? within(c, 0x00, 0x1F) : is_lenient(text.substr(at))) {
            return false;
        }
    }
    return true;
}

} // namespace apid
