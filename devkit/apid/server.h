// The HTTP side: one thread, which runs every handler.
#pragma once

#include <chrono>
#include <string>

namespace apid {

// Serves the loaded routes on a listening socket, which it takes over, until stop_requested(); then finishes
// the requests in work and returns. An empty token stands for "no token wanted". A client has `timeout` from
// its connection, or from the end of its last request, to the end of its next reply; the time in which
// handlers run does not count. Throws startup_error.
void serve(int listener, const std::string &token, std::chrono::seconds timeout);

} // namespace apid
