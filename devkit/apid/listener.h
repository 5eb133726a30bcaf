// SPDX-License-Identifier: Apache-2.0
// Socket addresses and the listening socket.
#pragma once

#include <string>
#include <string_view>
#include <sys/socket.h>

namespace apid {

struct endpoint {
    sockaddr_storage address{};
    socklen_t length = 0;
};

// "127.0.0.1:8080" or "[::1]:8080"; throws startup_error (exit_usage) for anything else, host names included.
endpoint parse_endpoint(const std::string &text);

// The form that parse_endpoint reads.
std::string to_text(const endpoint &where);

bool is_loopback(const endpoint &where);

// Whether the endpoint has this port, or this numeric address (IPv6 in brackets).
bool has_port(const endpoint &where, std::string_view port);
bool has_address(const endpoint &where, std::string_view address);

// Where the socket is bound; a length of 0 when that is no internet address.
endpoint local_endpoint(int socket);

// Opens a listening socket, closed on exec, that does not block; throws startup_error.
int open_listener(const endpoint &where);

// Checks that the inherited descriptor is a listening internet socket and makes it like one of open_listener;
// throws startup_error.
void adopt_listener(int socket);

} // namespace apid
