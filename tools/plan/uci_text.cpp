// SPDX-License-Identifier: Apache-2.0
// Configuration text from anybody, in bounds.
#include "tools/plan/uci_text.h"

#include "devkit/uci/error.h"
#include "devkit/uci/format.h"
#include "devkit/uci/lexer.h"
#include "tools/plan/snapshot.h"

namespace plan {

namespace {

constexpr size_t sections_limit = 4000;
constexpr size_t small = size_t{64} << 10; // bytes that cannot hold too many sections

void expect_bounds(std::string_view text) {
    if (text.size() > configuration_limit)
        throw input_error("larger than " + std::to_string(configuration_limit) + " bytes");
    if (text.size() <= small)
        return;
    size_t sections = 0;
    uci::lexer source(text);
    for (std::vector<uci::word> words = source.next(); !words.empty(); words = source.next())
        sections += words.front().text.starts_with('c') ? 1 : 0;
    if (sections > sections_limit)
        throw input_error("more than " + std::to_string(sections_limit) + " sections");
}

template <typename Parse>
auto guarded(std::string_view text, Parse parse) {
    try {
        expect_bounds(text);
        return parse();
    } catch (const uci::error &problem) {
        throw input_error(problem.what());
    }
}

} // namespace

uci::package parse_package(const std::string &name, std::string_view text) {
    return guarded(text, [&] { return uci::parse_file(name, text); });
}

std::vector<uci::package> parse_packages(std::string_view text) {
    return guarded(text, [&] { return uci::parse_export(text); });
}

} // namespace plan
