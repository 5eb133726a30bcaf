// SPDX-License-Identifier: Apache-2.0
// Members that a request has more than once.
#include "tools/plan/repeated.h"

#include "tools/plan/json.h"
#include "tools/plan/observer.h"

#include <algorithm>
#include <set>

namespace plan {

namespace {

// The length of the string that the text begins with, quotes included.
size_t string_length(std::string_view text) {
    size_t at = 1;
    while (at < text.size() && text[at] != '"')
        at += text[at] == '\\' ? 2 : 1;
    return std::min(at + 1, text.size());
}

} // namespace

std::vector<std::string> repeated_members(std::string_view text) {
    std::set<std::string> seen;
    std::set<std::string> repeated;
    int depth = 0;
    bool is_name = false; // a string here is a member's name
    for (size_t at = 0, length = 1; at < text.size(); at += length) {
        const char c = text[at];
        length = c == '"' ? string_length(text.substr(at)) : 1;
        if (c == '"' && is_name) {
            std::string name(text_of(parse_json(text.substr(at, length), json_use::device).get()));
            is_name = false;
            if (!seen.insert(name).second)
                repeated.insert(std::move(name));
        } else if (c == '{' || c == '[') {
            ++depth;
        } else if (c == '}' || c == ']') {
            --depth;
        }
        if (c == '{' || c == ',')
            is_name = depth == 1;
    }
    return {repeated.begin(), repeated.end()};
}

void tell_repeated(request_plan &made, const std::vector<std::string> &names, bool checking) {
    for (const std::string &each : names)
        if (checking)
            made.keys.push_back(row_of(each, outcome::ignored, reason::overridden,
                                       "it stands again in the request, and only the last one counts"));
        else
            made.notes.push_back(each +
                                 " stands more than once in the request, and only the last one counts");
}

} // namespace plan
