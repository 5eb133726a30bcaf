// SPDX-License-Identifier: Apache-2.0
// One client's connection. Nothing here blocks.
#pragma once

#include "devkit/apid/request.h"

#include <chrono>

namespace apid {

class connection {
public:
    // Time in which the daemon serves: the time in handlers does not count.
    using time = std::chrono::steady_clock::duration;

    // What the client is waited for with.
    enum class phase {
        over,      // to be closed
        lingering, // to end the connection: all is sent, and what still arrives is dropped, since closing now
                   // would take back a reply that the client has not read
        reading,   // to send a request
        replying   // to take the reply
    };

    // Takes the socket over.
    connection(int socket, time deadline) : socket_(socket), deadline_(deadline) {}
    ~connection();
    connection(const connection &) = delete;
    connection &operator=(const connection &) = delete;

    int socket() const { return socket_; }
    phase now() const { return phase_; }

    // What poll is to wait for.
    short events() const;

    // Moves what the socket is ready for.
    void transfer();

    // Whether there is input that nobody has looked at; then read() tells what it is.
    bool has_news() const { return phase_ == phase::reading && has_news_; }
    request_reader::progress read();
    const request_reader &reader() const { return reader_; }
    bool is_idle() const { return phase_ == phase::reading && !reader_.wants_body() && input_.empty(); }

    // Bytes of memory for what has arrived and for what is to be sent.
    size_t held() const { return input_.capacity() + reader_.held() + output_.capacity(); }

    // Answers the request. The connection lives on when the client keeps it, no part of a body is outstanding
    // and `may_keep`.
    void reply_with(const reply &content, bool may_keep);

    // Tells the client to send the body.
    void give_leave();

    // When patience with the client ends.
    time deadline() const { return deadline_; }
    void set_deadline(time deadline) { deadline_ = deadline; }

    // Whether a part of a reply was sent since the last call.
    bool took_part();

    // Gives back what it holds; the socket is closed with the object.
    void end();

private:
    bool takes_input() const;
    void receive();
    void send();
    void finish_reply();

    const int socket_;
    time deadline_;
    phase phase_ = phase::reading;
    request_reader reader_;
    std::string input_;
    std::string output_;
    size_t sent_ = 0;          // of the output
    bool has_news_ = false;    // input, or its end, that was not looked at
    bool input_ended_ = false; // the client sends nothing more
    bool keeps_ = false;       // the connection, after the reply
    bool took_part_ = false;
};

} // namespace apid
