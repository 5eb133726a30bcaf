// SPDX-License-Identifier: Apache-2.0
// Reads requests from the bytes that a client sends. What could be understood in two ways is refused.
#pragma once

#include "devkit/apid/access.h"
#include "devkit/apid/head.h"
#include "devkit/apid/reply.h"

#include <memory>
#include <optional>
#include <string>

namespace apid {

constexpr size_t max_body = size_t{1} << 20;

// The headers that the daemon looks at; none when the request does not have it.
struct headers {
    std::optional<std::string> host, origin, authorization;
    std::optional<std::string> content_type, content_length, transfer_encoding, expect;
    bool repeated = false; // one of them is there twice
};

struct request {
    std::string method;
    std::string path;  // escapes decoded
    std::string query; // as it was sent
    bool is_http_1_1 = false;
    bool keeps = false; // whether the client keeps its connection for another request
    headers known;
    std::string body;
};

// A body that is larger than max_body, as announced or as sent (413).
reply refuse_size();

// Whether a Content-Length is digits alone, and whether it is and says more than max_body.
bool is_length(std::string_view content_length);
bool announces_too_much(std::string_view content_length);

// Reads one request, in order: wants_more until has_head, then wants_more until is_whole; is_refused ends it.
class request_reader {
public:
    enum class progress { wants_more, has_head, is_whole, is_refused };

    request_reader();
    ~request_reader();
    request_reader(request_reader &&) noexcept;
    request_reader &operator=(request_reader &&) noexcept;

    // Takes what belongs to the request from the front of `input`, which may hold the next ones too.
    progress read(std::string &input);

    // Whole from has_head on but for the body, which is there when all is whole.
    const request &current() const { return request_; }
    const reply &refusal() const { return refusal_; }

    // Whether the body is still to come.
    bool wants_body() const;

    // Bytes of the body so far, and of the memory for it and the head.
    size_t received() const;
    size_t held() const;

private:
    struct parser;

    progress read_head(std::string &input);
    progress parse_head(std::string_view head);
    progress read_body(std::string &input);
    bool is_at_chunk_header() const;
    std::string_view next_part(std::string_view input) const;
    progress put(std::string_view &part); // leaves what of it was taken
    progress refuse(reply why);
    progress refuse_body(const std::string &why);

    head_scanner scanner_;
    std::unique_ptr<parser> parser_; // from has_head on
    request request_;
    reply refusal_{};
};

} // namespace apid
