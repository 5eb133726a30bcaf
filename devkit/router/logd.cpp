// SPDX-License-Identifier: Apache-2.0
// `logd SOCKET TO FILE`: takes the system log's messages at SOCKET, passes each on to the log at TO, and adds
// a line for each to FILE: its time, to the microsecond, when it was sent; facility and level; its text. So
// the log, which knows seconds only, can be read in one order with what else happened.
//
// A line: "2026-01-31T12:00:00.123456Z daemon.info apid[40]: text". Control characters stand as in "^[". FILE
// is put aside as FILE.old when it has grown to 4 MiB.
#include "devkit/time_text.h"

#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr off_t max_file = off_t{4} << 20;
constexpr size_t max_message = 64 << 10;
constexpr size_t stamp_length =
    sizeof "Jan 31 12:00:00 " - 1; // before the text, when the sender knows the time

// clang-format off
constexpr std::array facilities = {"kern", "user", "mail", "daemon", "auth", "syslog", "lpr", "news", "uucp", "cron",
                                   "authpriv", "ftp", "ntp", "audit", "alert", "clock", "local0", "local1", "local2",
                                   "local3", "local4", "local5", "local6", "local7"};
constexpr std::array levels = {"emerg", "alert", "crit", "err", "warn", "notice", "info", "debug"};
// clang-format on

[[noreturn]] void fail(const char *what) {
    std::perror(what);
    std::exit(1);
}

sockaddr_un address_of(const char *path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (std::strlen(path) >= sizeof address.sun_path)
        fail(path);
    std::strcpy(address.sun_path, path);
    return address;
}

int open_input(const char *path) {
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = address_of(path);
    const int on = 1;
    unlink(path);
    if (descriptor < 0 || setsockopt(descriptor, SOL_SOCKET, SO_TIMESTAMP, &on, sizeof on) != 0 ||
        bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        fail(path);
    chmod(path, 0666);
    return descriptor;
}

int open_log(const char *path) {
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = address_of(path);
    if (descriptor < 0 ||
        connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        fail(path);
    return descriptor;
}

// Takes "<30>" from the front; what has none is user.notice.
unsigned take_priority(std::string_view &text) {
    constexpr unsigned user_notice = 13;
    const size_t end = text.find('>');
    if (!text.starts_with('<') || end == std::string_view::npos || end > 4)
        return user_notice;
    const unsigned priority = static_cast<unsigned>(std::atoi(std::string(text.substr(1, end - 1)).c_str()));
    text.remove_prefix(end + 1);
    return priority / 8 < facilities.size() ? priority : user_notice;
}

void drop_stamp(std::string_view &text) {
    if (text.size() > stamp_length && text[3] == ' ' && text[6] == ' ' && text[9] == ':' && text[12] == ':' &&
        text[15] == ' ')
        text.remove_prefix(stamp_length);
}

std::string printable(std::string_view text) {
    std::string result;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (std::iscntrl(byte) != 0 && character != '\t')
            (result += '^') += static_cast<char>(byte ^ 0x40);
        else
            result += character;
    }
    return result;
}

std::string line_of(const timeval &time, std::string_view message) {
    const unsigned priority = take_priority(message);
    drop_stamp(message);
    while (message.ends_with('\n') || message.ends_with('\0'))
        message.remove_suffix(1);
    return time_text(time) + ' ' + facilities[priority / 8] + '.' + levels[priority % 8] + ' ' +
           printable(message) + '\n';
}

// A full disk loses lines, and nothing else.
void append(const std::string &path, const std::string &line) {
    struct stat facts {};
    if (stat(path.c_str(), &facts) == 0 && facts.st_size > max_file)
        std::rename(path.c_str(), (path + ".old").c_str());
    const int file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (file < 0)
        return;
    [[maybe_unused]] const ssize_t written = write(file, line.data(), line.size());
    close(file);
}

timeval time_of(msghdr &header) {
    timeval time{};
    gettimeofday(&time, nullptr);
    for (cmsghdr *part = CMSG_FIRSTHDR(&header); part != nullptr; part = CMSG_NXTHDR(&header, part))
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_TIMESTAMP)
            std::memcpy(&time, CMSG_DATA(part), sizeof time);
    return time;
}

[[noreturn]] void serve(int input, int log, const std::string &file) {
    static std::array<char, max_message> message;
    for (;;) {
        alignas(cmsghdr) std::array<char, 256> control{};
        iovec piece{message.data(), message.size()};
        msghdr header{};
        header.msg_iov = &piece;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        const ssize_t size = recvmsg(input, &header, 0);
        if (size < 0)
            continue;
        send(log, message.data(), static_cast<size_t>(size), MSG_NOSIGNAL);
        append(file, line_of(time_of(header), {message.data(), static_cast<size_t>(size)}));
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 4) {
        std::fputs("usage: logd SOCKET TO FILE\n", stderr);
        return 2;
    }
    const int log = open_log(argv[2]);
    serve(open_input(argv[1]), log, argv[3]);
}
