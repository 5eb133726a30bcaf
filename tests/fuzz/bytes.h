// SPDX-License-Identifier: Apache-2.0
// The bytes of an input, read as decisions. When they run out, every further decision is the first choice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace fuzz {

class bytes {
public:
    bytes(const uint8_t *data, size_t size) : rest_(reinterpret_cast<const char *>(data), size) {}

    explicit bytes(std::string_view text) : rest_(text) {}

    bool empty() const { return rest_.empty(); }

    unsigned next() {
        if (rest_.empty())
            return 0;
        const unsigned value = static_cast<unsigned char>(rest_.front());
        rest_.remove_prefix(1);
        return value;
    }

    // limit: 1 to 256.
    size_t below(size_t limit) { return next() % limit; }

    bool flip() { return (next() & 1U) != 0; }

    template <typename T, size_t count>
    const T &one_of(const T (&choices)[count]) {
        return choices[below(count)];
    }

    // Up to the next line feed, which is taken too.
    std::string_view line() {
        const size_t end = rest_.find('\n');
        const std::string_view found = rest_.substr(0, end);
        rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
        return found;
    }

    std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
};

} // namespace fuzz
