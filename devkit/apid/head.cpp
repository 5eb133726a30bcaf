// SPDX-License-Identifier: Apache-2.0
// Where the head of a request ends.
#include "devkit/apid/head.h"

#include "devkit/apid/text.h"

namespace apid {

namespace {

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// Whether the byte at `at` may follow the ones before it, as far as line ends go.
bool is_text(std::string_view input, size_t at) {
    const bool after_return = at > 0 && input[at - 1] == '\r';
    const char c = input[at];
    return (c == '\n') == after_return && (!is_control(c) || c == '\r' || c == '\n');
}

bool begins_with_blank(std::string_view input, size_t at) {
    return is_blank(input[at]) && (at == 0 || input[at - 1] == '\n');
}

} // namespace

head_scanner::verdict head_scanner::scan(std::string_view input) {
    const std::string_view head = input.substr(0, max_head);
    while (scanned_ < head.size()) {
        const size_t at = scanned_++;
        if (!is_text(head, at))
            return verdict::not_text;
        if (begins_with_blank(head, at))
            return verdict::folded;
        if (head.substr(0, scanned_).ends_with("\r\n\r\n"))
            return verdict::whole;
    }
    if (head.size() < max_head)
        return verdict::incomplete;
    return head.find('\n') == std::string_view::npos ? verdict::line_too_long : verdict::too_long;
}

} // namespace apid
