// SPDX-License-Identifier: Apache-2.0
// Which values of a key are acceptable, found by trying.
#include "tools/plan/limits.h"

#include <cstdio>

namespace plan {

namespace {

constexpr size_t longest_extension = 64; // no setting needs more

std::string extended(const std::string &text, const std::string &good, size_t length) {
    std::string result = text;
    while (result.size() < length)
        result += good.empty() ? "x" : good;
    result.resize(length);
    return result;
}

} // namespace

std::optional<std::string> length_rule(const std::string &pattern) {
    unsigned least = 0;
    unsigned most = 0;
    int end = -1;
    const int numbers = std::sscanf(pattern.c_str(), "^.{%5u,%5u}$%n", &least, &most, &end);
    if (numbers != 2 || end != static_cast<int>(pattern.size()))
        return std::nullopt;
    return std::to_string(least) + " to " + std::to_string(most) + " bytes";
}

bool is_one_of_few(inquiry &asked, const std::string &key, const std::string &good) {
    return good.size() > 1 && !asked.has_effect(key, good + good.back()) &&
           !asked.has_effect(key, good.substr(0, good.size() - 1));
}

std::optional<size_t> longest_start(inquiry &asked, const std::string &key, const std::string &text) {
    size_t fits = text.size() / 2;
    while (fits > 0 && !asked.has_effect(key, text.substr(0, fits)))
        fits /= 2;
    if (fits == 0)
        return std::nullopt;
    for (size_t too_long = text.size(); fits + 1 < too_long;) {
        const size_t middle = fits + (too_long - fits) / 2;
        (asked.has_effect(key, text.substr(0, middle)) ? fits : too_long) = middle;
    }
    return fits;
}

std::optional<size_t> shortest_extension(inquiry &asked, const std::string &key, const std::string &text,
                                         const std::string &good) {
    for (size_t length = text.size() + 1; length <= longest_extension; ++length)
        if (asked.has_effect(key, extended(text, good, length)))
            return length;
    return std::nullopt;
}

} // namespace plan
