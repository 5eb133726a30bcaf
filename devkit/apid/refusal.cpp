// SPDX-License-Identifier: Apache-2.0
// What is refused by its request line and header, before any body is read.
#include "devkit/apid/refusal.h"

#include "devkit/apid/routes.h"
#include "devkit/apid/text.h"

#include <syslog.h>

namespace apid {

namespace {

bool is_json(const std::optional<std::string> &content_type) {
    return content_type &&
           equal_ignoring_case(std::string_view(*content_type).substr(0, content_type->find_first_of("; \t")),
                               json_type);
}

bool is_expectation_met(const headers &known) {
    return !known.expect || equal_ignoring_case(*known.expect, "100-continue");
}

std::optional<reply> refuse_access(const headers &known, const endpoint &local, const std::string &token) {
    switch (check_access({known.host, known.origin, known.authorization}, local, token)) {
    case access::wrong_host:
        return error_reply(421, "Host is not this daemon's address");
    case access::foreign_origin:
        return error_reply(403, "requests from other origins are refused");
    case access::no_token: {
        reply refused = error_reply(401, "the token is missing or wrong");
        refused.header = "WWW-Authenticate";
        refused.header_value = "Bearer realm=\"apid\"";
        return refused;
    }
    case access::granted:
        break;
    }
    return std::nullopt;
}

std::optional<reply> refuse_route(const request &asked, const route *target) {
    if (target == nullptr)
        return error_reply(404, "no such path");
    if (target->method != asked.method) {
        reply refused = error_reply(405, "the path has another method");
        refused.header = "Allow";
        refused.header_value = target->method.c_str();
        return refused;
    }
    if (target->method == "POST" && !is_json(asked.known.content_type))
        return error_reply(415, "the body must be application/json");
    if (announces_too_much(asked.known.content_length.value_or("")))
        return refuse_size();
    if (!is_expectation_met(asked.known))
        return error_reply(417, "the expectation is not 100-continue");
    return std::nullopt;
}

} // namespace

std::optional<reply> refuse_ambiguity(const request &asked) {
    const auto &coding = asked.known.transfer_encoding;
    if (asked.known.repeated)
        return error_reply(400, "a header is there twice");
    if (!asked.known.host && asked.is_http_1_1)
        return error_reply(400, "Host is missing");
    if (asked.known.content_length && !is_length(*asked.known.content_length))
        return error_reply(400, "Content-Length is not a number");
    if (coding && !asked.is_http_1_1)
        return error_reply(400, "HTTP/1.0 has no transfer codings");
    if (coding && !equal_ignoring_case(*coding, "chunked"))
        return error_reply(501, "the transfer coding is not chunked");
    return std::nullopt;
}

std::optional<reply> refuse_request(const request &asked, const route *target, const endpoint &local,
                                    const std::string &token) {
    if (auto refused = refuse_access(asked.known, local, token)) {
        syslog(LOG_NOTICE, "request refused: %s", refused->body.c_str());
        return refused;
    }
    return refuse_route(asked, target);
}

bool waits_for_leave(const request &asked) { return asked.is_http_1_1 && asked.known.expect.has_value(); }

} // namespace apid
