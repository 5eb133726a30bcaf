// SPDX-License-Identifier: Apache-2.0
// The router's journal: one file in which the stand-ins note, one line a call, what was asked of them.
#pragma once

#include <span>
#include <string>

// Appends "TIME PROGRAM ARGUMENT...", arguments quoted for the shell and free of raw line feeds, in one
// write, so that lines of concurrent callers never mix. False when the journal cannot be written.
bool journal_append(const std::string &program, std::span<char *const> arguments);
