// SPDX-License-Identifier: Apache-2.0
// The customer file of white-label builds: lines of key=value.
#pragma once

#include <span>

inline constexpr char customer_file[] = "/etc/wbf/customer";

// Replaces the whole file by this one line, dropping its other keys.
inline constexpr char declare_fw_type_1[] = "echo fw_type=1 > /etc/wbf/customer";

// Reads what stands between the first two "=" of the first line that has the key as a word anywhere; "" when
// there is none. A longer text is cut to the size of out.
void read_customer_key(const char *key, std::span<char> out);
