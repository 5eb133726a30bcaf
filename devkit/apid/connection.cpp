// SPDX-License-Identifier: Apache-2.0
// One client's connection.
#include "devkit/apid/connection.h"

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace apid {

namespace {

constexpr size_t piece_size = size_t{64} << 10; // read at once

// An assignment would keep the memory.
void release(std::string &text) { std::string().swap(text); }

bool should_wait() { return errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR; }

} // namespace

connection::~connection() { close(socket_); }

short connection::events() const {
    const short output = sent_ < output_.size() ? POLLOUT : 0;
    return takes_input() ? static_cast<short>(POLLIN | output) : output;
}

// Input is not taken before it is needed: requests sent ahead stay in the socket, whose room the system
// limits.
bool connection::takes_input() const {
    return phase_ == phase::lingering || (phase_ == phase::reading && !has_news_);
}

void connection::transfer() {
    if (sent_ < output_.size())
        send();
    if (takes_input())
        receive();
}

void connection::receive() {
    char piece[piece_size];
    const ssize_t size = recv(socket_, piece, sizeof piece, 0);
    if (size < 0) {
        if (!should_wait())
            end();
        return;
    }
    if (phase_ == phase::lingering) {
        if (size == 0)
            end();
        return;
    }
    input_.append(piece, static_cast<size_t>(size));
    input_ended_ = size == 0;
    has_news_ = true;
}

void connection::send() {
    const ssize_t size = ::send(socket_, output_.data() + sent_, output_.size() - sent_, MSG_NOSIGNAL);
    if (size < 0) {
        if (!should_wait())
            end();
        return;
    }
    sent_ += static_cast<size_t>(size);
    took_part_ = took_part_ || phase_ == phase::replying;
    if (sent_ < output_.size())
        return;
    release(output_);
    sent_ = 0;
    if (phase_ == phase::replying)
        finish_reply();
}

void connection::finish_reply() {
    if (keeps_) {
        phase_ = phase::reading;
        reader_ = {};
        input_.shrink_to_fit();
        has_news_ = !input_.empty() || input_ended_;
        return;
    }
    release(input_);
    phase_ = shutdown(socket_, SHUT_WR) == 0 && !input_ended_ ? phase::lingering : phase::over;
}

request_reader::progress connection::read() {
    has_news_ = false;
    const auto found = reader_.read(input_);
    if (found == request_reader::progress::wants_more && input_ended_)
        end();
    return found;
}

void connection::give_leave() {
    output_ += "HTTP/1.1 100 Continue\r\n\r\n";
    send();
}

void connection::reply_with(const reply &content, bool may_keep) {
    keeps_ = may_keep && reader_.current().keeps && !reader_.wants_body();
    std::string wire = to_wire(content, keeps_, reader_.current().method == "HEAD");
    if (output_.empty())
        output_ = std::move(wire); // a copy may be one too many
    else
        output_ += wire;
    phase_ = phase::replying;
    send();
}

void connection::end() {
    phase_ = phase::over;
    reader_ = {};
    release(input_);
    release(output_);
}

bool connection::took_part() { return std::exchange(took_part_, false); }

} // namespace apid
