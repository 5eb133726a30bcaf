// SPDX-License-Identifier: Apache-2.0
// Replies and how they are sent.
#include "devkit/apid/reply.h"

#include <boost/beast/http/status.hpp>
#include <ctime>
#include <ostream> // which the status header needs and lacks

namespace apid {

namespace {

std::string date() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    char text[64] = "";
    std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", gmtime_r(&now, &parts));
    return text;
}

void add_header(std::string &head, std::string_view name, std::string_view value) {
    head.append(name).append(": ").append(value).append("\r\n");
}

std::string_view reason_of(unsigned status) {
    const auto reason = boost::beast::http::obsolete_reason(boost::beast::http::int_to_status(status));
    return {reason.data(), reason.size()};
}

} // namespace

reply error_reply(unsigned status, const std::string &text) {
    return {.status = status, .body = R"({"error":")" + text + "\"}"};
}

std::string to_wire(const reply &content, bool keeps, bool to_head) {
    std::string wire = "HTTP/1.1 " + std::to_string(content.status) + " ";
    wire.append(reason_of(content.status)).append("\r\n");
    add_header(wire, "Date", date());
    add_header(wire, "Content-Type", json_type);
    add_header(wire, "Content-Length", std::to_string(content.body.size()));
    add_header(wire, "Cache-Control", "no-store");
    if (content.header != nullptr)
        add_header(wire, content.header, content.header_value);
    if (!keeps)
        add_header(wire, "Connection", "close");
    wire.append("\r\n");
    if (!to_head)
        wire.append(content.body);
    return wire;
}

} // namespace apid
