// SPDX-License-Identifier: Apache-2.0
// Where the parts of a body in chunks end.
#include "devkit/apid/chunks.h"

#include <algorithm>

namespace apid {

namespace {

constexpr std::string_view line_end = "\r\n";
constexpr std::string_view trailer_end = "\r\n\r\n";

// Whether a chunk's header announces no data.
bool is_last(std::string_view header) {
    const size_t zeros = std::min(header.find_first_not_of('0'), header.size());
    return zeros > 0 && header.find_first_of("123456789ABCDEFabcdef", zeros) != zeros;
}

} // namespace

std::string_view chunk_scanner::next_part(std::string_view input) const {
    if (is_in_data())
        return input.substr(0, left_);
    const size_t header = follows_data_ ? line_end.size() : 0;
    const size_t end = input.find(line_end, header);
    if (end == std::string_view::npos)
        return {};
    if (!is_last(input.substr(header, end - header)))
        return input.substr(0, end + line_end.size());
    const size_t last_end = input.find(trailer_end, end);
    return last_end == std::string_view::npos ? std::string_view()
                                              : input.substr(0, last_end + trailer_end.size());
}

} // namespace apid
