// SPDX-License-Identifier: Apache-2.0
// Who may use the daemon: the rules for Host, Origin and Authorization.
#pragma once

#include "devkit/apid/listener.h"

#include <optional>
#include <string>
#include <string_view>

namespace apid {

// The header's values; none when the request does not have it.
struct access_headers {
    std::optional<std::string_view> host, origin, authorization;
};

enum class access { granted, wrong_host, foreign_origin, no_token };

// `local` is the connection's own end; an empty token stands for "no token wanted".
access check_access(const access_headers &headers, const endpoint &local, std::string_view token);

// The token in the file, without white space around it. Throws startup_error when the file cannot be read or
// holds nothing that a header could carry.
std::string read_token(const std::string &file);

} // namespace apid
