// SPDX-License-Identifier: Apache-2.0
// What a hardened build refuses.
#include "plugin/hardened.h"

#include <cstring>

namespace {

// ASCII alone, in every locale; bytes of other characters mean nothing to the shell.
bool is_plain(char character) {
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z') || (character & 0x80) != 0 ||
           strchr("_./:=@%+,-~#", character);
}

} // namespace

bool is_plain_word(const char *text) {
    if (text[0] != '\0' && strchr("-~#", text[0]))
        return false; // an option, a home folder, a comment
    for (; *text; ++text)
        if (!is_plain(*text))
            return false;
    return true;
}
