// SPDX-License-Identifier: Apache-2.0
// Lines of standard input, of bounded length, as they come.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace plan {

class line_reader {
public:
    // descriptor: stays the caller's. limit: bytes of the longest line.
    line_reader(int descriptor, size_t limit) : descriptor_(descriptor), limit_(limit), block_(65536) {}

    enum class result { line, too_long, end };

    // The next line without its end, good until the next call; of one that is too long nothing is kept.
    // Throws input_error when the input cannot be read.
    result next(std::string_view &out);

    // Whether the next call can have to wait for the sender.
    bool may_wait() const { return buffered_.find('\n') == std::string_view::npos; }

private:
    bool fill();

    int descriptor_;
    size_t limit_;
    std::vector<char> block_;
    std::string_view buffered_; // of the block, not yet given out
    std::string begun_;         // the beginning of a line that goes on behind the block
    bool at_end_ = false;
};

} // namespace plan
