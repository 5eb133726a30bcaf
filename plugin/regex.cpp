// SPDX-License-Identifier: Apache-2.0
// Pattern validation: POSIX extended expressions plus \d \D \s \S \w \W, which the C libraries disagree
// about. A pattern is rewritten into bracket classes before it is compiled.
#include "plugin/aerolink.h"

#include <cstddef>
#include <cstring>
#include <cwctype>
#include <locale.h>
#include <regex.h>

namespace {

constexpr size_t rewritten_size = 2048;

// The rewritten pattern as it grows. Once it does not fit it never does again.
struct rewritten {
    char text[rewritten_size];
    size_t length = 0;
    bool fits = true;
};

void append(rewritten &out, const char *text, size_t length) {
    out.fits = out.fits && length < rewritten_size - out.length;
    if (!out.fits)
        return;
    memcpy(out.text + out.length, text, length);
    out.length += length;
    out.text[out.length] = '\0';
}

void append(rewritten &out, const char *text) { append(out, text, strlen(text)); }
void append(rewritten &out, char character) { append(out, &character, 1); }

// The inside of the bracket expression that a class escape stands for, in either case of its letter; else
// null.
const char *class_of(char letter) {
    switch (letter) {
    case 'd':
    case 'D':
        return "[:digit:]";
    case 's':
    case 'S':
        return "[:space:]";
    case 'w':
    case 'W':
        return "[:alnum:]_";
    default:
        return nullptr;
    }
}

bool is_negated(char letter) { return letter == 'D' || letter == 'S' || letter == 'W'; }

// The characters of a bracket expression behind "[" or "[^".
struct bracket {
    const char *begin;
    const char *end; // its "]"; null when there is none
    bool inverted;
    bool has_negated_class;
};

// The end of "[:name:]", "[.x.]" or "[=x=]" that begins at text; null when none does.
const char *end_of_named(const char *text) {
    if (text[0] != '[' || text[1] == '\0' || !strchr(":.=", text[1]))
        return nullptr;
    const char close[] = {text[1], ']', '\0'};
    const char *end = strstr(text + 2, close);
    return end ? end + 2 : nullptr;
}

bracket scan_bracket(const char *text) {
    bracket found = {text + 1, nullptr, false, false};
    if (*found.begin == '^') {
        found.inverted = true;
        ++found.begin;
    }
    const char *at = found.begin;
    if (*at == ']')
        ++at;
    while (*at != '\0' && *at != ']') {
        if (const char *end = end_of_named(at)) {
            at = end;
        } else if (at[0] == '\\' && (class_of(at[1]) || at[1] == '\\')) {
            found.has_negated_class = found.has_negated_class || is_negated(at[1]);
            at += 2;
        } else {
            ++at;
        }
    }
    if (*at == ']')
        found.end = at;
    return found;
}

// A bracket expression without a negated class: only the escapes are replaced.
void rewrite_bracket(const bracket &source, rewritten &out) {
    append(out, source.inverted ? "[^" : "[");
    for (const char *at = source.begin; at < source.end;) {
        size_t step = 1;
        if (const char *end = end_of_named(at)) {
            step = static_cast<size_t>(end - at);
            append(out, at, step);
        } else if (at[0] == '\\' && class_of(at[1])) {
            step = 2;
            append(out, class_of(at[1]));
        } else if (at[0] == '\\' && at[1] == '\\') {
            step = 2;
            append(out, at, step);
        } else if (at[0] == '\\' && at[1] == '/') {
            // The slash follows by itself.
        } else {
            append(out, *at);
        }
        at += step;
    }
    append(out, ']');
}

constexpr unsigned ascii_end = 128;
constexpr unsigned underscore = '_';
constexpr unsigned line_feed = '\n';

// Which ASCII characters a bracket expression lists.
struct ascii_set {
    bool has[ascii_end];
};

void add_class(ascii_set &set, wctype_t type, bool negated) {
    for (unsigned c = 1; c < ascii_end; ++c)
        if ((iswctype(static_cast<wint_t>(c), type) != 0) != negated)
            set.has[c] = true;
}

void add_escape(ascii_set &set, char letter) {
    const bool word = letter == 'w' || letter == 'W';
    const char *name = word ? "alnum" : (letter == 'd' || letter == 'D') ? "digit" : "space";
    const bool had_underscore = set.has[underscore];
    add_class(set, wctype(name), is_negated(letter));
    if (word)
        set.has[underscore] = had_underscore || !is_negated(letter);
}

// Adds "[:name:]"; false for any other form and for an unknown name.
bool add_named(ascii_set &set, const char *text, const char *end) {
    char name[16] = "";
    const size_t length = static_cast<size_t>(end - text) - 4;
    if (text[1] != ':' || length >= sizeof name)
        return false;
    memcpy(name, text + 2, length);
    const wctype_t type = wctype(name);
    if (type == 0)
        return false;
    add_class(set, type, false);
    return true;
}

// False for a range that runs backwards.
bool add_range(ascii_set &set, char first, char last) {
    const unsigned begin = static_cast<unsigned char>(first);
    const unsigned end = static_cast<unsigned char>(last);
    for (unsigned c = begin; c <= end && c < ascii_end; ++c)
        set.has[c] = true;
    return begin <= end;
}

bool collect(const bracket &source, ascii_set &set) {
    for (const char *at = source.begin; at < source.end;) {
        if (const char *end = end_of_named(at)) {
            if (!add_named(set, at, end))
                return false;
            at = end;
        } else if (at[0] == '\\' && class_of(at[1])) {
            add_escape(set, at[1]);
            at += 2;
        } else if (at[0] == '\\' && at[1] == '/') {
            ++at; // the slash follows by itself
        } else if (at + 2 < source.end && at[1] == '-') {
            if (!add_range(set, at[0], at[2]))
                return false;
            at += 3;
        } else {
            add_range(set, at[0], at[0]);
            at += at[0] == '\\' && at[1] == '\\' ? 2 : 1;
        }
    }
    return true;
}

// A bracket expression with a negated class lists every character beyond ASCII. So what it leaves out is a
// list of ASCII letters, digits, spaces and underscores: an inverted expression is that list, any other the
// list inverted. Either way it matches no line feed.
bool rewrite_negated_bracket(const bracket &source, rewritten &out) {
    ascii_set listed = {};
    if (!collect(source, listed))
        return false;
    listed.has[line_feed] = source.inverted;
    char left_out[ascii_end];
    size_t length = 0;
    for (unsigned c = 1; c < ascii_end; ++c)
        if (!listed.has[c])
            left_out[length++] = static_cast<char>(c);
    if (length == 0) {
        append(out, "[^\x01-\xff]"); // nothing is left that could match, under a quantifier either
        return true;
    }
    append(out, source.inverted ? "[" : "[^");
    append(out, left_out, length);
    append(out, ']');
    return true;
}

bool rewrite_any_bracket(const bracket &source, rewritten &out) {
    if (source.has_negated_class)
        return rewrite_negated_bracket(source, out);
    rewrite_bracket(source, out);
    return true;
}

// The rewritten form of what follows a backslash outside brackets.
void rewrite_escape(char letter, rewritten &out) {
    if (const char *inside = class_of(letter)) {
        append(out, is_negated(letter) ? "[^" : "[");
        append(out, inside);
        append(out, ']');
    } else {
        if (letter != '/')
            append(out, '\\');
        append(out, letter);
    }
}

bool rewrite(const char *pattern, rewritten &out) {
    for (const char *at = pattern; *at != '\0';) {
        if (at[0] == '\\' && at[1] != '\0') {
            rewrite_escape(at[1], out);
            at += 2;
            continue;
        }
        if (*at != '[') {
            append(out, *at++);
            continue;
        }
        const bracket found = scan_bracket(at);
        if (!found.end || !rewrite_any_bracket(found, out))
            return false;
        at = found.end + 1;
    }
    return out.fits;
}

int match(const char *pattern, const char *text) {
    rewritten translated;
    translated.text[0] = '\0'; // the rest stays as it is: an initial value would take 2 KiB of the plug-in
    if (!pattern || !text || !rewrite(pattern, translated))
        return -1;
    regex_t compiled;
    if (regcomp(&compiled, translated.text, REG_EXTENDED | REG_NEWLINE | REG_NOSUB) != 0)
        return -1;
    const int result = regexec(&compiled, text, 0, nullptr, 0);
    regfree(&compiled);
    return result == 0 ? 1 : result == REG_NOMATCH ? 0 : -1;
}

} // namespace

int regex_exe(const char *pattern, const char *text) {
    // Characters are bytes, whatever locale the daemon has chosen. The C library has the locale "C" built in:
    // newlocale allocates nothing for it, cannot fail, and there is nothing to free.
    const locale_t daemon_locale = uselocale(newlocale(LC_ALL_MASK, "C", nullptr));
    const int result = match(pattern, text);
    uselocale(daemon_locale);
    return result;
}
