// SPDX-License-Identifier: Apache-2.0
// The HTTP side: one loop around poll. It runs in one thread, so that no handler can run beside another.
#include "devkit/apid/server.h"

#include "devkit/apid/answer.h"
#include "devkit/apid/connection.h"
#include "devkit/apid/refusal.h"
#include "devkit/apid/routes.h"
#include "devkit/apid/signals.h"

#include <algorithm>
#include <cerrno>
#include <list>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <new>
#include <poll.h>
#include <sys/resource.h>
#include <system_error>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace apid {

namespace {

using clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using namespace std::chrono_literals;
using phase = connection::phase;

constexpr size_t max_connections = 512;
constexpr size_t max_held = size_t{64} << 20; // bytes of all connections but the one that holds most
constexpr size_t accepted_at_once = 64;
constexpr int max_unsent =
    64 << 10; // bytes that the system takes over of a reply before they are sent: it
              // would take megabytes, and nobody could tell whether a client takes them
constexpr connection::time time_to_linger = 2s; // for a client to take a last reply
constexpr connection::time time_to_finish = 1s; // after a stop, for what is not complete
constexpr milliseconds pause_without_files = 100ms;

// As many as leave handlers the other half of the descriptors.
size_t places() {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    return std::min<size_t>(max_connections, files.rlim_cur / 2);
}

bool is_out_of_files(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

class server {
public:
    server(int listener, const std::string &token, std::chrono::seconds timeout)
        : token_(token), timeout_(timeout), listener_(listener) {
        watched_.reserve(places_ + 2); // where memory is short later, it does not end the daemon
    }

    void run();

private:
    void turn();
    bool wait();
    milliseconds time_to_wait() const;
    void attend(connection &client, bool is_ready);
    void serve(connection &client);
    static void give_answer(connection &client, const route &target);
    void accept_clients(size_t at_most);
    void add_client(int socket);
    bool make_room();
    void limit_memory();
    void begin_stop();
    void drop_overdue(connection::time now);
    void drop_idle();
    void drop_ended() {
        clients_.remove_if([](const connection &client) { return client.now() == phase::over; });
    }

    bool stops() const { return listener_ < 0; }
    connection::time serving_time() const { return clock::now().time_since_epoch() - handler_time_; }
    connection::time deadline_in(connection::time wait) const {
        return std::min(serving_time() + wait, end_);
    }

    const std::string token_;
    const connection::time timeout_;
    const size_t places_ = places();
    connection::time handler_time_{};                // spent in handlers so far
    connection::time end_ = connection::time::max(); // after a stop, of all connections
    std::list<connection> clients_;
    std::vector<pollfd> watched_;
    int listener_;
};

void server::run() {
    while (!stop_requested())
        turn();
    begin_stop();
    while (!clients_.empty())
        turn();
}

// What is complete is answered: of those who are connected first, as they may have to make room then for
// those who wait in the listener's queue. No more are taken.
void server::begin_stop() {
    end_ = serving_time() + time_to_finish;
    for (connection &client : clients_) {
        client.set_deadline(std::min(client.deadline(), end_));
        attend(client, true);
    }
    drop_idle();
    drop_ended();
    accept_clients(places_);
    close(listener_);
    listener_ = -1;
}

// Waits for something to do and does it.
void server::turn() {
    watched_ = {{wakeup_descriptor(), POLLIN, 0}, {listener_, POLLIN, 0}};
    for (const connection &client : clients_)
        watched_.push_back({client.socket(), client.events(), 0});
    if (!wait())
        return;
    clear_wakeup();
    const auto now = serving_time(); // who has sent something by now is not overdue
    auto ready = watched_.begin() + 2;
    for (connection &client : clients_)
        attend(client, (ready++)->revents != 0);
    drop_overdue(now);
    if (stops())
        drop_idle();
    drop_ended();
    if (watched_[1].revents != 0)
        accept_clients(std::min(accepted_at_once, places_)); // none makes room before it had its turn
}

// False when a signal came first: then nothing is known.
bool server::wait() {
    if (poll(watched_.data(), watched_.size(), static_cast<int>(time_to_wait().count())) >= 0)
        return true;
    if (errno == EINTR)
        return false;
    throw std::system_error(errno, std::generic_category(), "poll");
}

milliseconds server::time_to_wait() const {
    milliseconds wait = 1min;
    const auto now = serving_time();
    for (const connection &client : clients_) {
        if (client.has_news() || (stops() && client.is_idle()))
            return 0ms;
        wait = std::clamp(std::chrono::ceil<milliseconds>(client.deadline() - now), 0ms, wait);
    }
    return wait;
}

// Answers one request at most: the other clients have their turn before the next one. A client whose bytes do
// not fit into memory loses its connection, and nobody else does.
void server::attend(connection &client, bool is_ready) {
    try {
        if (is_ready)
            client.transfer();
        if (client.has_news())
            serve(client);
    } catch (const std::bad_alloc &) {
        client.end();
    }
    if (client.took_part())
        client.set_deadline(deadline_in(client.now() == phase::lingering ? time_to_linger : timeout_));
    limit_memory();
}

// Where the memory does not suffice, what the handler did is done, and only its response is lost.
void server::give_answer(connection &client, const route &target) {
    try {
        const reply answered = answer(client.reader().current(), target);
        client.reply_with(answered, !stop_requested()); // a stop may have been asked for meanwhile
    } catch (const std::bad_alloc &) {
        client.reply_with(error_reply(500, "the response does not fit into memory"), false);
    }
}

void server::serve(connection &client) {
    using progress = request_reader::progress;
    for (;;) {
        const progress found = client.read();
        const request &asked = client.reader().current();
        const route *target = find_route(asked.path);
        if (found == progress::wants_more)
            return;
        if (found == progress::is_refused)
            return client.reply_with(client.reader().refusal(), false);
        if (found == progress::is_whole) {
            const auto start = clock::now();
            give_answer(client, *target);
            handler_time_ += clock::now() - start;
            return;
        }
        if (const auto refused = refuse_ambiguity(asked))
            return client.reply_with(*refused, false);
        if (const auto refused = refuse_request(asked, target, local_endpoint(client.socket()), token_))
            return client.reply_with(*refused, !stop_requested());
        if (waits_for_leave(asked) && client.reader().wants_body())
            client.give_leave();
    }
}

void server::accept_clients(size_t at_most) {
    for (size_t count = 0; count < at_most; ++count) {
        const int socket = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (socket >= 0) {
            add_client(socket);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            return;
        } else if (is_out_of_files(errno)) {
            if (!make_room())
                std::this_thread::sleep_for(pause_without_files); // nobody waits but who cannot be taken
            return;
        }
    }
}

void server::add_client(int socket) {
    const auto set = [&](int option, int value) {
        setsockopt(socket, IPPROTO_TCP, option, &value, sizeof value);
    };
    set(TCP_NODELAY, 1);
    set(TCP_NOTSENT_LOWAT, max_unsent);
    if (clients_.size() >= places_)
        make_room();
    try {
        clients_.emplace_back(socket, deadline_in(timeout_));
    } catch (const std::bad_alloc &) {
        close(socket);
    }
}

// Ends a connection: one whose reply is sent, or the one that has been waited for the longest; false when
// there is none.
bool server::make_room() {
    const auto rank = [](const connection &client) {
        const bool is_answered = client.now() == phase::over || client.now() == phase::lingering;
        return std::tuple(!is_answered, client.deadline());
    };
    const auto least = std::ranges::min_element(clients_, {}, rank);
    if (least == clients_.end())
        return false;
    clients_.erase(least);
    return true;
}

// Ends connections, first those that hold much, while all of them hold too much. The one that holds most is
// left alone: a log's reply may be larger than the limit by itself.
void server::limit_memory() {
    const auto most = std::ranges::max_element(clients_, {}, &connection::held);
    const auto held_of = [&](const connection &client) { return &client == &*most ? 0 : client.held(); };
    size_t held = 0;
    for (const connection &client : clients_)
        held += held_of(client);
    while (held > max_held) {
        const auto next = std::ranges::max_element(clients_, {}, held_of);
        held -= next->held();
        next->end();
    }
}

void server::drop_overdue(connection::time now) {
    for (connection &client : clients_)
        if (client.deadline() <= now)
            client.end();
}

// After a stop, those who have sent no part of a request.
void server::drop_idle() {
    for (connection &client : clients_)
        if (client.is_idle())
            client.end();
}

} // namespace

void serve(int listener, const std::string &token, std::chrono::seconds timeout) {
    server(listener, token, timeout).run();
}

} // namespace apid
