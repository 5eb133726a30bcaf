// SPDX-License-Identifier: Apache-2.0
// A client that does as little as it can.
#include "bench/box/http.h"

#include "bench/box/rounds.h"

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

class connection {
public:
    explicit connection(int port) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in where{};
        where.sin_family = AF_INET;
        where.sin_port = htons(static_cast<uint16_t>(port));
        where.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(socket_, reinterpret_cast<const sockaddr *>(&where), sizeof where) != 0)
            throw std::runtime_error("nobody listens");
    }
    ~connection() { close(socket_); }
    connection(const connection &) = delete;
    connection &operator=(const connection &) = delete;

    void get(const std::string &path) {
        const std::string request = "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n";
        if (write(socket_, request.data(), request.size()) != static_cast<ssize_t>(request.size()))
            throw std::runtime_error("the daemon has gone");
        std::string answer;
        size_t head = 0;
        while ((head = answer.find("\r\n\r\n")) == std::string::npos)
            receive(answer);
        if (!answer.starts_with("HTTP/1.1 200 "))
            throw std::runtime_error(path + ": " + answer);
        while (answer.size() < head + 4 + body_length(answer))
            receive(answer);
    }

private:
    void receive(std::string &answer) const {
        std::array<char, 65536> block;
        const ssize_t count = read(socket_, block.data(), block.size());
        if (count <= 0)
            throw std::runtime_error("the daemon has hung up");
        answer.append(block.data(), static_cast<size_t>(count));
    }

    static size_t body_length(const std::string &answer) {
        constexpr std::string_view name = "\r\nContent-Length: ";
        const size_t at = answer.find(name);
        if (at == std::string::npos)
            throw std::runtime_error("an answer without a length");
        return static_cast<size_t>(std::atol(answer.c_str() + at + name.size()));
    }

    int socket_;
};

} // namespace

void measure_http(int port, int rounds, int batch, const std::vector<std::string> &paths) {
    connection daemon(port);
    std::vector<contender> contenders;
    contenders.reserve(paths.size());
    for (const std::string &path : paths)
        contenders.push_back({path, [&daemon, batch, path] {
                                  for (int i = 0; i < batch; ++i)
                                      daemon.get(path);
                              }});
    measure_in_turn("http", rounds, contenders, [] {});
}
