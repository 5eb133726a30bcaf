// SPDX-License-Identifier: Apache-2.0
// What can go wrong in the store, in the words that the command prints after "uci: ".
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <system_error>

namespace uci {

// `code` is what the command `uci add` ends with.
struct error : std::runtime_error {
    error(const std::string &text, int status) : std::runtime_error(text), code(status) {}
    int code;
};

// A package, section or option that is not there.
struct not_found : error {
    not_found() : error("Entry not found", 3) {}
};

// A request that makes no sense, or a value that the file format could not hold.
struct invalid_argument : error {
    invalid_argument() : error("Invalid argument", 2) {}
};

// A name that is none, or a text that breaks the grammar: line from 1, byte within the line from 0.
struct parse_error : error {
    parse_error() : error("Parse error", 5) {}
    parse_error(const std::string &reason, size_t line, size_t byte)
        : error("Parse error (" + reason + ") at line " + std::to_string(line) + ", byte " +
                    std::to_string(byte),
                5) {}
};

// A system call that failed with this errno.
struct io_error : error {
    explicit io_error(int number) : error("I/O error (" + std::generic_category().message(number) + ")", 4) {}
};

} // namespace uci
