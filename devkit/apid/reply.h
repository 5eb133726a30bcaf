// SPDX-License-Identifier: Apache-2.0
// Replies and how they are sent.
#pragma once

#include <cstddef>
#include <string>

namespace apid {

constexpr const char *json_type = "application/json";

struct reply {
    unsigned status; // of HTTP
    std::string body;
    const char *header = nullptr; // one more header, with its value
    const char *header_value = nullptr;
};

// A reply whose body is {"error": text}. The text is ours and needs no escapes.
reply error_reply(unsigned status, const std::string &text);

// The bytes of the reply; `keeps` tells the client whether the connection stays open. A reply to HEAD
// announces its body and does not have it.
std::string to_wire(const reply &content, bool keeps, bool to_head);

} // namespace apid
