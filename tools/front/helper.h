// SPDX-License-Identifier: Apache-2.0
// The programs aerolink-WORD, which are commands of the front door as if they were part of it.
#pragma once

#include <map>
#include <string>

// The words for which there is a program, and what it says of itself in one of its first lines, as
// "aerolink WORD: SUMMARY."; "" for one that says nothing.
std::map<std::string, std::string> helper_summaries();

// Becomes the program of words[0] with the other words as its arguments; comes back only when there is none.
// The program finds the front door's own path in the environment variable AEROLINK.
void become_helper(char **words);
