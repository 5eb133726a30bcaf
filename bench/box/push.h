// SPDX-License-Identifier: Apache-2.0
// A push and a full read on a heron: by the plug-in, and in the other ways there are. Both throw when a way
// fails.
#pragma once

#include <set>
#include <string>

// Contenders of a push: "plugin"; "hand", the same reads, writes and commands without it; "commands", of
// these the commands alone; "script", one with a `uci set` for each write; "batch", the same for `uci batch`.
// Prints also, per push, "calls CASE READS WRITES COMMANDS" and "patterns CASE COMPILED_SECONDS USED_SECONDS
// COUNT". The case is the number of settings.
void measure_push(int rounds, const std::set<std::string> &wanted, const std::string &request);

// Contenders of the case "read": "plugin", "command", the one that it must run, and "show", `uci show`.
void measure_read(int rounds);

// The checks of the request's values alone, as many pushes would make them ("checks patterns PUSHES
// CHECKS_OF_A_PUSH"). Contenders of the case "patterns": "as_asked", "with_groups", "once".
void measure_patterns(int rounds, const std::string &request);
