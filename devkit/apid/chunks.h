// SPDX-License-Identifier: Apache-2.0
// Where the parts of a body in chunks end.
#pragma once

#include <cstdint>
#include <string_view>

namespace apid {

class chunk_scanner {
public:
    // The next part of the body, with which the input begins: some of a chunk's data, or a chunk's header,
    // whole and with the line end of the data before it; the header of the last chunk has the trailer with
    // it. Empty while a header is incomplete.
    std::string_view next_part(std::string_view input) const;
    bool is_in_data() const { return left_ > 0; }

    // A header was read that announces so much data.
    void begin_data(std::uint64_t size) {
        left_ = size;
        follows_data_ = true;
    }

    // So much data was read.
    void skip_data(size_t size) { left_ -= size; }

private:
    std::uint64_t left_ = 0; // of a chunk's data
    bool follows_data_ = false;
};

} // namespace apid
