// SPDX-License-Identifier: Apache-2.0
// Where the head of a request ends: its request line and header, checked byte by byte as they arrive.
#pragma once

#include <cstddef>
#include <string_view>

namespace apid {

constexpr size_t max_head = size_t{32} << 10; // bytes of request line and header

class head_scanner {
public:
    enum class verdict {
        incomplete,
        whole,
        not_text, // a control character, or a line end other than CR LF
        folded,   // a line begins with a blank: it could be read as part of the line before, or as one of its
                  // own
        line_too_long,
        too_long
    };

    // `input` begins with the head; what was scanned before is not looked at again.
    verdict scan(std::string_view input);

    // Bytes of a whole head, the empty line included.
    size_t length() const { return scanned_; }

private:
    size_t scanned_ = 0;
};

} // namespace apid
