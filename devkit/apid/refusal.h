// What is refused by its request line and header, before any body is read.
#pragma once

#include <cstddef>
#include <microhttpd.h>
#include <optional>
#include <string>
#include <string_view>

namespace apid {

struct route;

constexpr size_t max_body = size_t{1} << 20;
constexpr const char *json_type = "application/json";

struct reply {
    unsigned status;
    std::string body;
    const char *header = nullptr; // one more header, with its value
    const char *header_value = nullptr;
};

// A reply whose body is {"error": text}. The text is ours and needs no escapes.
reply error_reply(unsigned status, const char *text);

// In this order: a header that is there twice (400), Host (421), Origin (403), token (401), path (404),
// method (405), content type of a post (415), announced size (413). `target` is null for an unknown path; an
// empty token stands for "no token wanted". Nothing when the request may go on.
std::optional<reply> refuse_request(MHD_Connection *connection, const route *target, std::string_view method,
                                    const std::string &token);

// A body of more than max_body bytes (413).
reply refuse_size();

// Whether the client sends its body only after leave was given.
bool waits_for_leave(MHD_Connection *connection);

int connection_socket(MHD_Connection *connection);

} // namespace apid
