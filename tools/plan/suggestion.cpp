// SPDX-License-Identifier: Apache-2.0
// "Did you mean": the least number of letters put in, left out, exchanged or swapped with their neighbour.
#include "tools/plan/suggestion.h"

#include <algorithm>
#include <vector>

namespace plan {

namespace {

constexpr size_t longest_word = 64; // what is longer is no misspelling of a key

size_t distance(std::string_view left, std::string_view right) {
    // Of the table of distances between beginnings, the last three rows.
    std::vector<size_t> earlier;
    std::vector<size_t> above;
    std::vector<size_t> row(right.size() + 1);
    for (size_t j = 0; j <= right.size(); ++j)
        row[j] = j;
    for (size_t i = 1; i <= left.size(); ++i) {
        earlier = std::move(above);
        above = row;
        row[0] = i;
        for (size_t j = 1; j <= right.size(); ++j) {
            const bool same = left[i - 1] == right[j - 1];
            row[j] = std::min({above[j] + 1, row[j - 1] + 1, above[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1])
                row[j] = std::min(row[j], earlier[j - 2] + 1);
        }
    }
    return row.back();
}

} // namespace

std::string nearest(std::string_view word, std::span<const std::string> candidates) {
    std::string found;
    size_t least = std::min<size_t>(3, word.size() / 3 + 1) + 1;
    if (word.size() > longest_word)
        return found;
    for (const std::string &each : candidates) {
        const size_t away = distance(word, each);
        if (away < least) {
            least = away;
            found = each;
        }
    }
    return found;
}

} // namespace plan
