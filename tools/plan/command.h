// SPDX-License-Identifier: Apache-2.0
// The commands `plan`, `check`, `export` and `snapshot`.
#pragma once

// Each takes the words of the command line from its own on; their exit status is that of the program.
int run_plan(int count, char **words);
int run_check(int count, char **words);
int run_export(int count, char **words);
int run_snapshot(int count, char **words);
