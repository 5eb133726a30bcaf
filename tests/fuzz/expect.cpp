// SPDX-License-Identifier: Apache-2.0
// How a target says that a promise is broken.
#include "tests/fuzz/expect.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void show(std::string_view label, std::string_view text) {
    std::fprintf(stderr, "%.*s: ", static_cast<int>(label.size()), label.data());
    for (const char c : text)
        if (c >= ' ' && c <= '~' && c != '\\')
            std::fputc(c, stderr);
        else
            std::fprintf(stderr, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    std::fputc('\n', stderr);
}

void expect(bool holds, const char *promise, std::string_view details) {
    if (holds)
        return;
    std::fprintf(stderr, "broken: %s\n", promise);
    if (!details.empty())
        show("seen", details);
    std::abort();
}

} // namespace fuzz
