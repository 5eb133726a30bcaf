// SPDX-License-Identifier: Apache-2.0
// The HTTP side: one thread, which runs every handler.
#pragma once

#include <chrono>
#include <string>

namespace apid {

// Serves the loaded routes on a listening socket, which it takes over and which must not block, until
// stop_requested(); then answers what is complete, gives the rest a moment and returns. An empty token stands
// for "no token wanted". A client has `timeout` from its connection, or from the end of its last reply, to
// send a request, and again for each part of the reply; the time in which handlers run does not count. When
// there are more clients than places, the one that has been waited for the longest makes room. Throws
// std::system_error.
void serve(int listener, const std::string &token, std::chrono::seconds timeout);

} // namespace apid
