// SPDX-License-Identifier: Apache-2.0
// Finds sections by their names at once, however many there are.
#include "devkit/uci/section_index.h"

#include "devkit/uci/package.h"

#include <bit>
#include <functional>

namespace uci {

// The slot that holds the name, or the free one where it belongs.
size_t section_index::slot_of(const std::vector<section> &sections, std::string_view name) const {
    const size_t mask = slots_.size() - 1;
    size_t slot = std::hash<std::string_view>()(name) & mask;
    while (slots_[slot] != 0 && sections[slots_[slot] - 1].name != name)
        slot = (slot + 1) & mask;
    return slot;
}

void section_index::build(const std::vector<section> &sections) {
    slots_.assign(std::bit_ceil(4 * sections.size() + 16), 0);
    for (known_ = 0; known_ < sections.size(); ++known_) {
        uint32_t &slot = slots_[slot_of(sections, sections[known_].name)];
        if (slot == 0)
            slot = static_cast<uint32_t>(known_ + 1);
    }
}

size_t section_index::find(const std::vector<section> &sections, std::string_view name) {
    if (known_ != sections.size() || slots_.empty())
        build(sections);
    const uint32_t found = slots_[slot_of(sections, name)];
    return found == 0 ? none : found - 1;
}

void section_index::add_last(const std::vector<section> &sections) {
    if (known_ + 1 != sections.size() || 2 * sections.size() > slots_.size())
        return;
    uint32_t &slot = slots_[slot_of(sections, sections.back().name)];
    if (slot == 0)
        slot = static_cast<uint32_t>(sections.size());
    ++known_;
}

void section_index::forget() {
    slots_.clear();
    known_ = 0;
}

} // namespace uci
