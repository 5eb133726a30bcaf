// SPDX-License-Identifier: Apache-2.0
// Writes the router's journal.
#include "devkit/router/journal.h"

#include "devkit/time_text.h"

#include <fcntl.h>
#include <unistd.h>

#include <string_view>

namespace {

constexpr const char *journal_path = "/var/log/journal";

bool is_plain(std::string_view text) {
    constexpr std::string_view plain =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_@%+=:,./-";
    return !text.empty() && text.find_first_not_of(plain) == std::string_view::npos;
}

std::string quoted(std::string_view text) {
    if (is_plain(text))
        return std::string(text);
    std::string result = "'";
    for (const char character : text) {
        if (character == '\'')
            result += "'\\''";
        else if (character == '\n')
            result += "'$'\\n''";
        else
            result += character;
    }
    return result + "'";
}

} // namespace

bool journal_append(const std::string &program, std::span<char *const> arguments) {
    std::string line = time_text() + ' ' + quoted(program);
    for (const char *argument : arguments)
        line += ' ' + quoted(argument);
    line += '\n';

    const int file = open(journal_path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (file < 0)
        return false;
    const bool written = write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    return close(file) == 0 && written;
}
