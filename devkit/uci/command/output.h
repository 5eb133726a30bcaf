// SPDX-License-Identifier: Apache-2.0
// What the command prints, kept back until its changes are written and nobody waits for its locks.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace uci {

class output {
public:
    // Text for standard output, and for standard error; they appear in this order.
    void print(std::string_view text) { append(text, false); }
    void complain(std::string_view text) { append(text, true); }

    // Forgets what was to be printed: the changes that it tells of were not written.
    void withdraw();

    // Prints everything. False when standard output does not take it.
    bool flush();

private:
    struct piece {
        std::string text;
        bool is_complaint;
    };
    void append(std::string_view text, bool is_complaint);

    std::vector<piece> pieces_;
};

} // namespace uci
