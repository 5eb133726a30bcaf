// SPDX-License-Identifier: Apache-2.0
// Finds sections by their names at once, however many there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace uci {

struct section;

// Holds places in a list that its owner keeps, so that a copy of both works as the original.
class section_index {
public:
    static constexpr size_t none = static_cast<size_t>(-1);

    // The place of the first section of that name.
    size_t find(const std::vector<section> &sections, std::string_view name);

    // After a section was appended.
    void add_last(const std::vector<section> &sections);

    // After any other change: the next search reads the list anew.
    void forget();

private:
    size_t slot_of(const std::vector<section> &sections, std::string_view name) const;
    void build(const std::vector<section> &sections);

    std::vector<uint32_t> slots_; // 0, or a place and 1; a power of two, at most half of them taken
    size_t known_ = 0;            // sections in the slots
};

} // namespace uci
