// SPDX-License-Identifier: Apache-2.0
// The command `describe`.
#pragma once

// `aerolink describe [--plugin FILE]`: prints what the plug-in says of itself, and what keys mean, as one
// JSON object: "version"; "routes" of {path, method}; "tables" by name, lists of {path, key, pattern}; "keys"
// of the rows of the table of keys. words: as main has them, the first one being the command's word. Gives
// the exit status.
int run_describe(int count, char **words);
