// SPDX-License-Identifier: Apache-2.0
// What the command prints, kept back until its changes are written and nobody waits for its locks.
#include "devkit/uci/command/output.h"

#include <cstdio>

namespace uci {

void output::append(std::string_view text, bool is_complaint) {
    if (pieces_.empty() || pieces_.back().is_complaint != is_complaint)
        pieces_.push_back({"", is_complaint});
    pieces_.back().text += text;
}

void output::withdraw() {
    std::erase_if(pieces_, [](const piece &each) { return !each.is_complaint; });
}

bool output::flush() {
    bool is_taken = true;
    for (const piece &each : pieces_) {
        std::FILE *stream = each.is_complaint ? stderr : stdout;
        const bool is_written =
            std::fwrite(each.text.data(), 1, each.text.size(), stream) == each.text.size();
        is_taken = ((is_written && std::fflush(stream) == 0) || each.is_complaint) && is_taken;
    }
    pieces_.clear();
    return is_taken;
}

} // namespace uci
