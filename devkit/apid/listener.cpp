// SPDX-License-Identifier: Apache-2.0
// Socket addresses and the listening socket.
#include "devkit/apid/listener.h"

#include "devkit/apid/startup_error.h"

#include <arpa/inet.h>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <optional>
#include <unistd.h>

namespace apid {

namespace {

constexpr int backlog = 1024; // clients that wait while a handler runs

std::optional<in_port_t> parse_port(std::string_view text) {
    in_port_t port = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || stop != text.data() + text.size())
        return std::nullopt;
    return port;
}

std::optional<in_addr> parse_ipv4(std::string_view text) {
    in_addr address{};
    if (inet_pton(AF_INET, std::string(text).c_str(), &address) != 1)
        return std::nullopt;
    return address;
}

std::optional<in6_addr> parse_bracketed_ipv6(std::string_view text) {
    in6_addr address{};
    if (text.size() < 2 || text.front() != '[' || text.back() != ']' ||
        inet_pton(AF_INET6, std::string(text.substr(1, text.size() - 2)).c_str(), &address) != 1)
        return std::nullopt;
    return address;
}

template <typename T>
T as(const endpoint &where) {
    T address{};
    std::memcpy(&address, &where.address, sizeof address);
    return address;
}

template <typename T>
endpoint from(const T &address) {
    endpoint where{.length = sizeof address};
    std::memcpy(&where.address, &address, sizeof address);
    return where;
}

in_port_t port_of(const endpoint &where) {
    return ntohs(where.address.ss_family == AF_INET6 ? as<sockaddr_in6>(where).sin6_port
                                                     : as<sockaddr_in>(where).sin_port);
}

startup_error failure(const std::string &what) { return {exit_failed, what + ": " + std::strerror(errno)}; }

bool is_listening(int socket) {
    int listening = 0;
    socklen_t size = sizeof listening;
    return getsockopt(socket, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) == 0 && listening != 0;
}

} // namespace

endpoint parse_endpoint(const std::string &text) {
    const size_t colon = text.rfind(':');
    if (colon != std::string::npos) {
        const std::string_view host = std::string_view(text).substr(0, colon);
        const auto port = parse_port(std::string_view(text).substr(colon + 1));
        if (const auto address = parse_ipv4(host); address && port)
            return from(sockaddr_in{
                .sin_family = AF_INET, .sin_port = htons(*port), .sin_addr = *address, .sin_zero = {}});
        if (const auto address = parse_bracketed_ipv6(host); address && port)
            return from(sockaddr_in6{.sin6_family = AF_INET6,
                                     .sin6_port = htons(*port),
                                     .sin6_flowinfo = 0,
                                     .sin6_addr = *address,
                                     .sin6_scope_id = 0});
    }
    throw startup_error(exit_usage, "--listen: not ADDRESS:PORT with a numeric address: " + text);
}

std::string to_text(const endpoint &where) {
    char address[INET6_ADDRSTRLEN] = "";
    const std::string port = std::to_string(port_of(where));
    if (where.address.ss_family == AF_INET6) {
        const auto ipv6 = as<sockaddr_in6>(where);
        inet_ntop(AF_INET6, &ipv6.sin6_addr, address, sizeof address);
        return "[" + std::string(address) + "]:" + port;
    }
    const auto ipv4 = as<sockaddr_in>(where);
    inet_ntop(AF_INET, &ipv4.sin_addr, address, sizeof address);
    return address + (":" + port);
}

bool is_loopback(const endpoint &where) {
    if (where.address.ss_family == AF_INET6) {
        const auto ipv6 = as<sockaddr_in6>(where);
        return IN6_IS_ADDR_LOOPBACK(&ipv6.sin6_addr);
    }
    return ntohl(as<sockaddr_in>(where).sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
}

bool has_port(const endpoint &where, std::string_view port) { return parse_port(port) == port_of(where); }

bool has_address(const endpoint &where, std::string_view address) {
    if (where.address.ss_family == AF_INET6) {
        const auto ipv6 = parse_bracketed_ipv6(address);
        const auto own = as<sockaddr_in6>(where);
        return ipv6 && IN6_ARE_ADDR_EQUAL(&*ipv6, &own.sin6_addr);
    }
    const auto ipv4 = parse_ipv4(address);
    return ipv4 && ipv4->s_addr == as<sockaddr_in>(where).sin_addr.s_addr;
}

endpoint local_endpoint(int socket) {
    endpoint where{.length = sizeof where.address};
    if (getsockname(socket, reinterpret_cast<sockaddr *>(&where.address), &where.length) != 0 ||
        (where.address.ss_family != AF_INET && where.address.ss_family != AF_INET6))
        return {};
    return where;
}

int open_listener(const endpoint &where) {
    const int listener = socket(where.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener < 0)
        throw failure("cannot open a socket");
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (where.address.ss_family == AF_INET6)
        setsockopt(listener, IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
    if (bind(listener, reinterpret_cast<const sockaddr *>(&where.address), where.length) != 0 ||
        listen(listener, backlog) != 0)
        throw failure("cannot listen on " + to_text(where));
    return listener;
}

void adopt_listener(int socket) {
    if (!is_listening(socket) || local_endpoint(socket).length == 0)
        throw startup_error(exit_failed, "--listen-fd: descriptor " + std::to_string(socket) +
                                             " is not a listening internet socket");
    if (fcntl(socket, F_SETFD, FD_CLOEXEC) != 0 || fcntl(socket, F_SETFL, O_NONBLOCK) != 0 ||
        listen(socket, backlog) != 0)
        throw failure("--listen-fd");
}

} // namespace apid
