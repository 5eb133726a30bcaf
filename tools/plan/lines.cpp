// SPDX-License-Identifier: Apache-2.0
// Lines of standard input.
#include "tools/plan/lines.h"

#include "tools/plan/snapshot.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace plan {

bool line_reader::fill() {
    ssize_t length = 0;
    do
        length = read(descriptor_, block_.data(), block_.size());
    while (length < 0 && errno == EINTR);
    if (length < 0)
        throw input_error(std::strerror(errno));
    at_end_ = length == 0;
    buffered_ = {block_.data(), static_cast<size_t>(length)};
    return !at_end_;
}

line_reader::result line_reader::next(std::string_view &out) {
    begun_.clear();
    for (bool too_long = false;;) {
        const size_t end = buffered_.find('\n');
        const std::string_view part = buffered_.substr(0, end);
        too_long = too_long || begun_.size() + part.size() > limit_;
        if (end != std::string_view::npos) {
            buffered_.remove_prefix(end + 1);
            if (!begun_.empty())
                begun_ += too_long ? "" : part;
            out = begun_.empty() ? part : std::string_view(begun_);
            return too_long ? result::too_long : result::line;
        }
        if (too_long)
            begun_.clear();
        else
            begun_ += part;
        const bool has_begun = too_long || !begun_.empty();
        if (at_end_ || !fill()) {
            buffered_ = {};
            out = begun_;
            return !has_begun ? result::end : too_long ? result::too_long : result::line;
        }
    }
}

} // namespace plan
