// SPDX-License-Identifier: Apache-2.0
// "Did you mean".
#include "tools/plan/suggestion.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace plan {

namespace {

constexpr size_t longest_word = 64; // what is longer is no misspelling of a key

// The least number of letters put in, left out, exchanged or swapped with their neighbour.
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

// --- Names in parts ------------------------------------------------------------------------------

constexpr size_t shortest_part = 3;                                   // of a name that a word stands for
constexpr size_t no_likeness = longest_word;                          // farther than any
constexpr std::array<std::string_view, 2> opposites{"enab", "disab"}; // as parts begin

// What people call a pass phrase; the keys call it "key".
constexpr std::array<std::string_view, 5> pass_phrases{"password", "passphrase", "passwd", "psk", "wpa"};

std::string plain(std::string_view word) {
    const size_t first = word.find_first_not_of(" \t");
    const size_t last = word.find_last_not_of(" \t");
    std::string result(first == std::string_view::npos ? "" : word.substr(first, last - first + 1));
    for (char &c : result)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c == '-' ? '_' : c;
    return result;
}

std::vector<std::string_view> parts_of(std::string_view name) {
    std::vector<std::string_view> parts;
    for (;;) {
        const size_t end = name.find('_');
        parts.push_back(name.substr(0, end));
        if (end == std::string_view::npos)
            return parts;
        name.remove_prefix(end + 1);
    }
}

bool has_part(const std::vector<std::string_view> &parts, std::string_view beginning) {
    return std::ranges::any_of(parts, [&](std::string_view part) { return part.starts_with(beginning); });
}

bool is_opposite(const std::vector<std::string_view> &one, const std::vector<std::string_view> &other) {
    const auto [yes, no] = opposites;
    return (has_part(one, yes) && has_part(other, no)) || (has_part(one, no) && has_part(other, yes));
}

// A name of as many parts resembles the word part by part: "wan_password" is no misspelling of "2g_password".
bool is_near(const std::vector<std::string_view> &word, const std::vector<std::string_view> &name) {
    return word.size() != name.size() ||
           std::ranges::equal(word, name, [](std::string_view left, std::string_view right) {
               return distance(left, right) <= std::max<size_t>(1, left.size() / 3);
           });
}

// How far the candidate is from what was meant: 0 for the same, 1 for one that goes on where the word ends or
// ends with it, then by letters.
size_t unlikeness(std::string_view word, std::string_view name) {
    if (word == name)
        return 0;
    const std::vector<std::string_view> own = parts_of(word);
    const std::vector<std::string_view> other = parts_of(name);
    if (is_opposite(own, other))
        return no_likeness;
    if (word.size() >= shortest_part && (name.starts_with(word) || name.ends_with("_" + std::string(word))))
        return 1;
    const size_t most = std::min<size_t>(3, word.size() / 3 + 1);
    const size_t apart = word.size() > name.size() ? word.size() - name.size() : name.size() - word.size();
    if (apart > most || !is_near(own, other))
        return no_likeness;
    const size_t away = distance(word, name);
    return away > most ? no_likeness : away + 1;
}

std::string with_key_for_pass_phrase(const std::string &word) {
    for (const std::string_view each : pass_phrases)
        if (word.ends_with("_" + std::string(each)))
            return word.substr(0, word.size() - each.size()) + "key";
    return "";
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

std::string_view nearest_key(std::string_view word, std::span<const std::string_view> candidates) {
    if (word.size() > longest_word)
        return {};
    const std::string wanted = plain(word);
    const std::string other_name = with_key_for_pass_phrase(wanted);
    std::string_view found;
    size_t least = no_likeness;
    for (const std::string_view each : candidates) {
        const size_t away = !other_name.empty() && each == other_name ? 0 : unlikeness(wanted, each);
        if (away < least) {
            least = away;
            found = each;
        }
    }
    return found;
}

} // namespace plan
