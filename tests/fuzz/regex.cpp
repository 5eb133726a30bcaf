// SPDX-License-Identifier: Apache-2.0
// regex_exe against PCRE2. An input is a pattern, a line feed, and a text; "@" and a byte in the pattern's
// place choose one of the batch tables' patterns; behind "%" each byte chooses a piece of a pattern, and a
// character of the text.
#include "plugin/aerolink.h"
#include "tests/fuzz/bytes.h"
#include "tests/fuzz/expect.h"
#include "tests/fuzz/pattern_grammar.h"
#include "tests/fuzz/posix_pattern.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

struct release {
    void operator()(pcre2_code *code) const { pcre2_code_free(code); }
    void operator()(pcre2_match_data *data) const { pcre2_match_data_free(data); }
    void operator()(pcre2_match_context *context) const { pcre2_match_context_free(context); }
    void operator()(pcre2_compile_context *context) const { pcre2_compile_context_free(context); }
};
template <typename T>
using owned = std::unique_ptr<T, release>;

// Rewriting makes 65 characters of [^\W], and 2047 fit.
constexpr size_t longest_sure_to_fit = 2047 / 13;

template <size_t rows>
void add_patterns(std::vector<const char *> &found, const batch_entry (&table)[rows]) {
    for (const batch_entry &row : table)
        if (row.pattern != nullptr && std::ranges::find(found, std::string_view(row.pattern)) == found.end())
            found.push_back(row.pattern);
}

const std::vector<const char *> &table_patterns() {
    static const std::vector<const char *> patterns = [] {
        std::vector<const char *> found;
        add_patterns(found, batch_list_common);
        add_patterns(found, batch_list1);
        add_patterns(found, batch_list2);
        add_patterns(found, batch_list_ardea);
        add_patterns(found, batch_list_mt76x8);
        add_patterns(found, batch_list_mt7615);
        add_patterns(found, batch_list_finch);
        add_patterns(found, batch_list_wbf);
        add_patterns(found, batch_list_wbf1);
        return found;
    }();
    return patterns;
}

struct question {
    std::string pattern;
    std::string text;
};

question read(fuzz::bytes input) {
    const std::string_view line = input.line();
    if (line.starts_with('%'))
        return {fuzz::grow_pattern(line.substr(1)), fuzz::grow_text(input.rest())};
    const std::string text(input.rest().substr(0, input.rest().find('\0')));
    const auto &patterns = table_patterns();
    if (line.size() == 2 && line[0] == '@')
        return {patterns[static_cast<unsigned char>(line[1]) % patterns.size()], text};
    return {std::string(line.substr(0, line.find('\0'))), text};
}

owned<pcre2_code> compile(const std::string &pattern) {
    int error = 0;
    size_t offset = 0;
    const owned<pcre2_compile_context> context(pcre2_compile_context_create(nullptr));
    pcre2_set_newline(context.get(), PCRE2_NEWLINE_LF);
    owned<pcre2_code> code(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(),
                                         PCRE2_MULTILINE | PCRE2_ALT_CIRCUMFLEX, &error, &offset,
                                         context.get()));
    fuzz::expect(code != nullptr || error == PCRE2_ERROR_PATTERN_TOO_LARGE ||
                     error == PCRE2_ERROR_PARENTHESES_NEST_TOO_DEEP || error == PCRE2_ERROR_HEAP_FAILED,
                 "PCRE2 takes what the translation gives, unless it is too much for it", pattern);
    return code;
}

// 1 or 0 as regex_exe; -1 when PCRE2 gives up.
int match(const pcre2_code *code, const std::string &text) {
    static const owned<pcre2_match_context> context = [] {
        owned<pcre2_match_context> made(pcre2_match_context_create(nullptr));
        pcre2_set_match_limit(made.get(), 20000);
        return made;
    }();
    const owned<pcre2_match_data> data(pcre2_match_data_create(1, nullptr));
    const int result = pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), 0, 0,
                                   data.get(), context.get());
    return result >= 0 ? 1 : result == PCRE2_ERROR_NOMATCH ? 0 : -1;
}

void compare(const std::string &pattern, const std::string &text, int result) {
    const fuzz::translation said = fuzz::translate(pattern);
    if (said.kind == fuzz::meaning::undefined || (result == -1 && pattern.size() > longest_sure_to_fit))
        return;
    if (said.kind == fuzz::meaning::invalid) {
        fuzz::expect(result == -1, said.reason, pattern);
        return;
    }
    const owned<pcre2_code> code = compile(said.pattern);
    const int expected = code ? match(code.get(), text) : -1;
    if (expected == result || expected == -1)
        return;
    fuzz::show("pattern", pattern);
    fuzz::show("text", text);
    fuzz::expect(false, expected == 1 ? "the text matches" : "the text does not match",
                 std::to_string(result));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const auto [pattern, text] = read({data, size});
    if (!fuzz::is_affordable(pattern))
        return -1;
    const int result = regex_exe(pattern.c_str(), text.c_str());
    fuzz::expect(result >= -1 && result <= 1, "the result is 1, 0 or -1", std::to_string(result));
    compare(pattern, text, result);
    return 0;
}
