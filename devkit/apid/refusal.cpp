// What is refused by its request line and header, before any body is read.
#include "devkit/apid/refusal.h"

#include "devkit/apid/access.h"
#include "devkit/apid/routes.h"

#include <charconv>
#include <strings.h>
#include <syslog.h>

namespace apid {

namespace {

struct headers {
    access_headers access;
    std::optional<std::string_view> content_type, content_length, expect;
    bool repeated = false;
};

MHD_Result note_header(void *to, MHD_ValueKind, const char *key, const char *value) {
    auto &known = *static_cast<headers *>(to);
    const std::pair<const char *, std::optional<std::string_view> &> slots[] = {
        {MHD_HTTP_HEADER_HOST, known.access.host},
        {MHD_HTTP_HEADER_ORIGIN, known.access.origin},
        {MHD_HTTP_HEADER_AUTHORIZATION, known.access.authorization},
        {MHD_HTTP_HEADER_CONTENT_TYPE, known.content_type},
        {MHD_HTTP_HEADER_CONTENT_LENGTH, known.content_length},
        {MHD_HTTP_HEADER_EXPECT, known.expect},
    };
    for (const auto &[name, slot] : slots) {
        if (strcasecmp(key, name) == 0) {
            known.repeated = known.repeated || slot.has_value();
            slot = value == nullptr ? "" : value;
        }
    }
    return MHD_YES;
}

headers read_headers(MHD_Connection *connection) {
    headers known;
    MHD_get_connection_values(connection, MHD_HEADER_KIND, note_header, &known);
    return known;
}

bool is_json(std::optional<std::string_view> content_type) {
    if (!content_type)
        return false;
    const std::string_view type = content_type->substr(0, content_type->find_first_of("; \t"));
    return type.size() == std::string_view(json_type).size() &&
           strncasecmp(type.data(), json_type, type.size()) == 0;
}

bool announces_too_much(std::optional<std::string_view> content_length) {
    unsigned long long length = 0;
    if (!content_length)
        return false;
    const auto end = content_length->data() + content_length->size();
    return std::from_chars(content_length->data(), end, length).ec != std::errc() || length > max_body;
}

std::optional<reply> refuse_access(const headers &known, MHD_Connection *connection,
                                   const std::string &token) {
    switch (check_access(known.access, local_endpoint(connection_socket(connection)), token)) {
    case access::wrong_host:
        return error_reply(MHD_HTTP_MISDIRECTED_REQUEST, "Host is not this daemon's address");
    case access::foreign_origin:
        return error_reply(MHD_HTTP_FORBIDDEN, "requests from other origins are refused");
    case access::no_token: {
        reply refused = error_reply(MHD_HTTP_UNAUTHORIZED, "the token is missing or wrong");
        refused.header = MHD_HTTP_HEADER_WWW_AUTHENTICATE;
        refused.header_value = "Bearer realm=\"apid\"";
        return refused;
    }
    case access::granted:
        break;
    }
    return std::nullopt;
}

std::optional<reply> refuse_route(const headers &known, const route *target, std::string_view method) {
    if (target == nullptr)
        return error_reply(MHD_HTTP_NOT_FOUND, "no such path");
    if (target->method != method) {
        reply refused = error_reply(MHD_HTTP_METHOD_NOT_ALLOWED, "the path has another method");
        refused.header = MHD_HTTP_HEADER_ALLOW;
        refused.header_value = target->method.c_str();
        return refused;
    }
    if (target->method == MHD_HTTP_METHOD_POST && !is_json(known.content_type))
        return error_reply(MHD_HTTP_UNSUPPORTED_MEDIA_TYPE, "the body must be application/json");
    if (announces_too_much(known.content_length))
        return refuse_size();
    return std::nullopt;
}

} // namespace

reply error_reply(unsigned status, const char *text) {
    return {.status = status, .body = std::string(R"({"error":")") + text + "\"}"};
}

reply refuse_size() { return error_reply(MHD_HTTP_CONTENT_TOO_LARGE, "the body is larger than 1 MiB"); }

std::optional<reply> refuse_request(MHD_Connection *connection, const route *target, std::string_view method,
                                    const std::string &token) {
    const headers known = read_headers(connection);
    if (known.repeated)
        return error_reply(MHD_HTTP_BAD_REQUEST, "a header is there twice");
    if (auto refused = refuse_access(known, connection, token)) {
        syslog(LOG_NOTICE, "request refused: %s", refused->body.c_str());
        return refused;
    }
    return refuse_route(known, target, method);
}

bool waits_for_leave(MHD_Connection *connection) { return read_headers(connection).expect.has_value(); }

int connection_socket(MHD_Connection *connection) {
    return MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD)->connect_fd;
}

} // namespace apid
