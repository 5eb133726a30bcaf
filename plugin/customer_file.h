// The customer file of white-label builds: lines of key=value.
#pragma once

#include <cstddef>

inline constexpr char customer_file[] = "/etc/wbf/customer";

// Replaces the whole file by the declaration of a build that is not white-label, dropping its other keys.
inline constexpr char declare_plain_build[] = "echo fw_type=1 > /etc/wbf/customer";

// Reads a key's value up to its first "=", "" when there is none; a longer value is cut to size bytes.
void read_customer_key(const char *key, char *out, size_t size);

template <size_t N>
void read_customer_key(const char *key, char (&out)[N]) {
    read_customer_key(key, out, N);
}
