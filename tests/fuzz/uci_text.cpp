// SPDX-License-Identifier: Apache-2.0
// Configuration files, exports and deltas: whatever is read is written in one way, and what is written reads
// the same. An input is a file; behind a line "%%" a delta; behind another such line the names of a request.
#include "devkit/uci/delta.h"
#include "devkit/uci/error.h"
#include "devkit/uci/format.h"
#include "devkit/uci/path.h"
#include "devkit/uci/text.h"
#include "tests/fuzz/bytes.h"
#include "tests/fuzz/expect.h"

#include <cstdint>
#include <set>

namespace {

constexpr char package_name[] = "net";

// The text up to a line "%%", which is taken from it.
std::string_view take_part(std::string_view &text) {
    constexpr std::string_view mark = "%%\n";
    const size_t end = text.find(mark);
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + mark.size());
    return part;
}

// A package that a file can hold: names are names, no two sections or options share one, no value is lost in
// a file.
void expect_sound(const uci::package &content) {
    std::set<std::string> sections;
    for (const uci::section &section : content.sections) {
        fuzz::expect(uci::is_name(section.name) && sections.insert(section.name).second,
                     "a section has a name of its own", section.name);
        fuzz::expect(uci::is_type(section.type), "a type is one", section.type);
        std::set<std::string> options;
        for (const uci::option &option : section.options) {
            fuzz::expect(uci::is_name(option.name) && options.insert(option.name).second,
                         "an option has a name of its own", option.name);
            fuzz::expect(option.is_list || option.values.size() == 1, "an option has one value", option.name);
        }
    }
}

void expect_round_trip(const uci::package &content) {
    expect_sound(content);
    const std::string text = uci::to_text(content);
    fuzz::expect(uci::to_text(uci::parse_file(package_name, text)) == text, "a file reads as it was written",
                 text);
    const std::string exported = uci::to_export(content, true);
    const std::vector<uci::package> read = uci::parse_export(exported);
    fuzz::expect(read.size() == 1 && uci::to_export(read.front(), true) == exported,
                 "an export reads as it was written", exported);
}

// A refusal names a place in the text.
uci::package read_file(std::string_view text) {
    try {
        return uci::parse_file(package_name, text);
    } catch (const uci::parse_error &refusal) {
        const std::string_view what = refusal.what();
        fuzz::expect(what.find(" at line ") != std::string_view::npos, "a refusal names a place", what);
        return {package_name, {}};
    }
}

void read_export(std::string_view text) {
    try {
        for (const uci::package &each : uci::parse_export(text))
            expect_sound(each);
    } catch (const uci::parse_error &) {
        return;
    }
}

bool same(const uci::change &one, const uci::change &other) {
    return one.kind == other.kind && one.section == other.section && one.option == other.option &&
           one.value == other.value;
}

void expect_line_round_trip(const uci::change &change) {
    const std::string line = uci::to_line(package_name, change);
    const uci::delta read = uci::parse_delta(package_name, line);
    fuzz::expect(read.whole == line.size() && read.changes.size() == 1 && same(read.changes.front(), change),
                 "a delta's line reads as it was written", line);
}

void apply_delta(uci::package &content, std::string_view text) {
    const uci::delta read = uci::parse_delta(package_name, text);
    fuzz::expect(read.whole <= text.size(), "what is whole is no more than what is there");
    for (const uci::change &change : read.changes) {
        expect_line_round_trip(change);
        const std::string before = uci::to_export(content, true);
        try {
            const bool changed = uci::apply(content, change);
            fuzz::expect(changed || uci::to_export(content, true) == before,
                         "a change that says so changes nothing", uci::to_line(package_name, change));
        } catch (const uci::error &) {
            fuzz::expect(uci::to_export(content, true) == before, "a refused change changes nothing",
                         uci::to_line(package_name, change));
        }
    }
}

void read_names(uci::package &content, fuzz::bytes lines) {
    while (!lines.empty()) {
        try {
            const uci::path where = uci::parse_path(lines.line());
            const uci::section *found = content.find(where.section);
            fuzz::expect(found == nullptr || content.find(found->name) == found,
                         "a section is found by its name", where.section);
        } catch (const uci::parse_error &) {
            continue;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    const std::string_view text = take_part(rest);
    uci::package content = read_file(text);
    read_export(text);
    expect_round_trip(content);
    apply_delta(content, take_part(rest));
    expect_round_trip(content);
    read_names(content, fuzz::bytes(rest));
    return 0;
}
