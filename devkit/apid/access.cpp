// SPDX-License-Identifier: Apache-2.0
// Who may use the daemon: the rules for Host, Origin and Authorization.
#include "devkit/apid/access.h"

#include "devkit/apid/startup_error.h"
#include "devkit/apid/text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace apid {

namespace {

constexpr size_t max_token = 4096;

// A page that was loaded from elsewhere can reach a loopback address through a host name of its own (DNS
// rebinding), but it cannot make the browser name us here.
bool names_us(std::string_view host, const endpoint &local) {
    const size_t end_of_address = host.starts_with('[') ? host.find(']') : 0;
    const size_t colon = host.find(':', end_of_address);
    if (colon != std::string_view::npos && !has_port(local, host.substr(colon + 1)))
        return false;
    const std::string_view name = host.substr(0, colon);
    return equal_ignoring_case(name, "localhost") || name == "127.0.0.1" || name == "[::1]" ||
           has_address(local, name);
}

bool is_same_origin(std::string_view origin, std::string_view host) {
    constexpr std::string_view scheme = "http://";
    return origin.starts_with(scheme) && equal_ignoring_case(origin.substr(scheme.size()), host);
}

// Takes the same time wherever the texts differ.
bool equal_in_constant_time(std::string_view given, std::string_view token) {
    unsigned difference = given.size() != token.size();
    for (size_t i = 0; i < given.size(); ++i)
        difference |=
            static_cast<unsigned char>(given[i]) ^ static_cast<unsigned char>(token[i % token.size()]);
    return difference == 0;
}

bool has_token(std::string_view authorization, std::string_view token) {
    constexpr std::string_view scheme = "Bearer ";
    return equal_ignoring_case(authorization.substr(0, scheme.size()), scheme) &&
           equal_in_constant_time(authorization.substr(scheme.size()), token);
}

} // namespace

access check_access(const access_headers &headers, const endpoint &local, std::string_view token) {
    if (!headers.host || !names_us(*headers.host, local))
        return access::wrong_host;
    if (headers.origin && !is_same_origin(*headers.origin, *headers.host))
        return access::foreign_origin;
    if (!token.empty() && !(headers.authorization && has_token(*headers.authorization, token)))
        return access::no_token;
    return access::granted;
}

std::string read_token(const std::string &file) {
    std::ifstream stream(file);
    std::string token(max_token + 1, '\0');
    stream.read(token.data(), static_cast<std::streamsize>(token.size()));
    if (!stream.is_open() || stream.bad())
        throw startup_error(exit_failed, "token file " + file + ": " + std::strerror(errno));
    token.resize(static_cast<size_t>(stream.gcount()));
    const char *const blanks = " \t\r\n";
    token.erase(token.find_last_not_of(blanks) + 1);
    token.erase(0, token.find_first_not_of(blanks));
    if (token.empty())
        throw startup_error(exit_failed, "token file " + file + ": is empty");
    if (token.size() > max_token ||
        !std::all_of(token.begin(), token.end(), [](char c) { return c > ' ' && c < 0x7F; }))
        throw startup_error(exit_failed, "token file " + file + ": not one word of printable characters");
    return token;
}

} // namespace apid
