// The HTTP side. The event loop is our own and the HTTP library works in it, so that the whole daemon is one
// thread: no handler can run beside another.
#include "devkit/apid/server.h"

#include "devkit/apid/exchange.h"
#include "devkit/apid/refusal.h"
#include "devkit/apid/routes.h"
#include "devkit/apid/signals.h"
#include "devkit/apid/startup_error.h"
#include "devkit/apid/text.h"
#include "devkit/apid/trace.h"

#include <algorithm>
#include <map>
#include <memory>
#include <microhttpd.h>
#include <sys/select.h>
#include <syslog.h>
#include <unistd.h>

namespace apid {

namespace {

constexpr size_t max_header = size_t{32} << 10; // request line, header and one piece of body
constexpr unsigned max_connections = 64;

using clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
using namespace std::chrono_literals;

unsigned status_of(int result) {
    switch (result) {
    case 0:
        return MHD_HTTP_OK;
    case -4: // a value is not acceptable
        return MHD_HTTP_UNPROCESSABLE_CONTENT;
    case -5: // a member is missing
        return MHD_HTTP_BAD_REQUEST;
    case -24: // the internet is not reachable
        return MHD_HTTP_SERVICE_UNAVAILABLE;
    default:
        return MHD_HTTP_INTERNAL_SERVER_ERROR;
    }
}

struct query {
    json_ptr request{json_object_new_object()};
    bool is_text = true;
};

MHD_Result note_parameter(void *to, MHD_ValueKind, const char *key, const char *value) {
    auto &parameters = *static_cast<query *>(to);
    const char *text = value == nullptr ? "" : value;
    parameters.is_text = parameters.is_text && is_utf8(key) && is_utf8(text);
    add_parameter(parameters.request.get(), key, text);
    return MHD_YES;
}

void trace_request(const route &target, const char *url, json_object *request) {
    if (!trace::is_kept())
        return;
    json_object *members = json_object_new_object();
    json_object_object_add(members, "method", json_object_new_string(target.method.c_str()));
    json_object_object_add(members, "path", json_object_new_string(url));
    json_object_object_add(members, "request", json_object_get(request));
    trace::add("request", members);
}

void trace_reply(const outcome &done, unsigned status) {
    if (!trace::is_kept())
        return;
    json_object *members = json_object_new_object();
    json_object_object_add(members, "status", json_object_new_int(static_cast<int>(status)));
    json_object_object_add(members, "reply", json_tokener_parse(done.body.c_str()));
    trace::add("reply", members);
}

// A request from its header to the end of its reply.
struct request_in_work {
    const route *target = nullptr;
    std::optional<reply> refusal; // the body is read and dropped before it is sent
    std::string body;
};

void take_body(request_in_work &request, std::string_view piece) {
    if (request.refusal)
        return;
    if (request.body.size() + piece.size() > max_body) {
        request.refusal = refuse_size();
        return;
    }
    request.body.append(piece);
}

class server {
public:
    server(int listener, const std::string &token, std::chrono::seconds timeout);
    ~server() { MHD_stop_daemon(daemon_); }
    server(const server &) = delete;
    server &operator=(const server &) = delete;

    void run();

private:
    static MHD_Result on_request(void *self, MHD_Connection *connection, const char *url, const char *method,
                                 const char *version, const char *data, size_t *size, void **state);
    static void on_completed(void *self, MHD_Connection *connection, void **state,
                             MHD_RequestTerminationCode why);
    static void on_connection(void *self, MHD_Connection *connection, void **state,
                              MHD_ConnectionNotificationCode what);
    static size_t on_escapes(void *, MHD_Connection *, char *text) { return decode_percent(text); }
    static void on_message(void *, const char *format, va_list arguments) {
        vsyslog(LOG_NOTICE, format, arguments);
    }

    void turn();
    milliseconds time_to_wait() const;
    void drop_overdue();
    clock::duration serving_time() const { return clock::now().time_since_epoch() - handler_time_; }
    void renew_deadline(MHD_Connection *connection) { deadlines_[connection] = serving_time() + timeout_; }

    std::unique_ptr<request_in_work> begin(MHD_Connection *connection, const char *url, const char *method);
    reply answer(MHD_Connection *connection, const request_in_work &request, const char *url);
    static MHD_Result send(MHD_Connection *connection, reply content);

    const std::string token_;
    const clock::duration timeout_;
    clock::duration handler_time_{};                        // spent in handlers so far
    std::map<MHD_Connection *, clock::duration> deadlines_; // of each open connection, in serving time
    size_t requests_in_work_ = 0;
    MHD_Daemon *daemon_;
    const int listener_;
};

server::server(int listener, const std::string &token, std::chrono::seconds timeout)
    : token_(token), timeout_(timeout), listener_(listener) {
    daemon_ = MHD_start_daemon(MHD_USE_ERROR_LOG, 0, nullptr, nullptr, on_request, this,
                               MHD_OPTION_EXTERNAL_LOGGER, on_message, nullptr,   //
                               MHD_OPTION_LISTEN_SOCKET, listener,                //
                               MHD_OPTION_STRICT_FOR_CLIENT, 1,                   //
                               MHD_OPTION_CONNECTION_LIMIT, max_connections,      //
                               MHD_OPTION_CONNECTION_MEMORY_LIMIT, max_header,    //
                               MHD_OPTION_CONNECTION_TIMEOUT, 0U,                 //
                               MHD_OPTION_SIGPIPE_HANDLED_BY_APP, 1,              //
                               MHD_OPTION_UNESCAPE_CALLBACK, on_escapes, nullptr, //
                               MHD_OPTION_NOTIFY_CONNECTION, on_connection, this, //
                               MHD_OPTION_NOTIFY_COMPLETED, on_completed, this,   //
                               MHD_OPTION_END);
    if (daemon_ == nullptr)
        throw startup_error(exit_failed, "cannot start the HTTP server");
}

void server::run() {
    while (!stop_requested())
        turn();
    MHD_quiesce_daemon(daemon_);
    close(listener_);
    while (requests_in_work_ != 0)
        turn();
}

// Waits for something to do and does it.
void server::turn() {
    fd_set readable;
    fd_set writable;
    fd_set failed;
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    FD_ZERO(&failed);
    MHD_socket highest = wakeup_descriptor();
    MHD_get_fdset(daemon_, &readable, &writable, &failed, &highest);
    FD_SET(wakeup_descriptor(), &readable);
    if (deadlines_.size() >= max_connections)
        FD_CLR(listener_, &readable); // clients wait in the backlog; the library would turn them away
    const auto wait = std::chrono::microseconds(time_to_wait());
    timeval timeout{.tv_sec = wait / 1s, .tv_usec = (wait % 1s).count()};
    if (select(highest + 1, &readable, &writable, &failed, &timeout) < 0)
        return; // a signal: the sets say nothing
    clear_wakeup();
    MHD_run_from_select(daemon_, &readable, &writable, &failed);
    drop_overdue();
}

milliseconds server::time_to_wait() const {
    milliseconds wait = std::chrono::minutes(1);
    MHD_UNSIGNED_LONG_LONG pending = 0;
    if (MHD_get_timeout(daemon_, &pending) == MHD_YES)
        wait = std::min(wait, milliseconds(pending));
    const auto now = serving_time();
    for (const auto &[connection, deadline] : deadlines_)
        wait = std::clamp(std::chrono::ceil<milliseconds>(deadline - now), milliseconds(0), wait);
    return wait;
}

// Shuts the sockets; the library then ends the connections.
void server::drop_overdue() {
    const auto now = serving_time();
    for (auto &[connection, deadline] : deadlines_) {
        if (deadline <= now) {
            shutdown(connection_socket(connection), SHUT_RDWR);
            deadline = clock::duration::max();
        }
    }
}

MHD_Result server::on_request(void *self, MHD_Connection *connection, const char *url, const char *method,
                              const char *, const char *data, size_t *size, void **state) {
    auto &that = *static_cast<server *>(self);
    auto *request = static_cast<request_in_work *>(*state);
    if (request == nullptr) {
        request = that.begin(connection, url, method).release();
        *state = request;
        // A client that waits for leave to send its body is told at once.
        const bool can_refuse_now = request->refusal && waits_for_leave(connection);
        return can_refuse_now ? send(connection, *request->refusal) : MHD_YES;
    }
    if (*size != 0) {
        take_body(*request, {data, *size});
        *size = 0;
        return MHD_YES;
    }
    return send(connection, request->refusal ? *request->refusal : that.answer(connection, *request, url));
}

void server::on_completed(void *self, MHD_Connection *connection, void **state, MHD_RequestTerminationCode) {
    if (*state == nullptr)
        return;
    auto &that = *static_cast<server *>(self);
    delete static_cast<request_in_work *>(*state);
    *state = nullptr;
    --that.requests_in_work_;
    that.renew_deadline(connection);
}

void server::on_connection(void *self, MHD_Connection *connection, void **,
                           MHD_ConnectionNotificationCode what) {
    auto &that = *static_cast<server *>(self);
    if (what == MHD_CONNECTION_NOTIFY_STARTED)
        that.renew_deadline(connection);
    else
        that.deadlines_.erase(connection);
}

std::unique_ptr<request_in_work> server::begin(MHD_Connection *connection, const char *url,
                                               const char *method) {
    auto request = std::make_unique<request_in_work>();
    ++requests_in_work_;
    request->target = find_route(url);
    request->refusal = refuse_request(connection, request->target, method, token_);
    return request;
}

reply server::answer(MHD_Connection *connection, const request_in_work &request, const char *url) {
    query parameters;
    json_ptr object;
    if (request.target->method == MHD_HTTP_METHOD_GET) {
        MHD_get_connection_values(connection, MHD_GET_ARGUMENT_KIND, note_parameter, &parameters);
        if (!parameters.is_text)
            return error_reply(MHD_HTTP_BAD_REQUEST, "the query is not UTF-8");
        object = std::move(parameters.request);
    } else {
        object = parse_object(request.body);
        if (object == nullptr)
            return error_reply(MHD_HTTP_BAD_REQUEST, "the body is not a JSON object");
    }
    trace_request(*request.target, url, object.get());
    const auto start = clock::now();
    outcome done = exchange(*request.target, std::move(object));
    handler_time_ += clock::now() - start;
    const unsigned status = status_of(done.result);
    trace_reply(done, status);
    syslog(LOG_INFO, "%s %s: result %d, status %u", request.target->method.c_str(), url, done.result, status);
    return {.status = status, .body = std::move(done.body)};
}

MHD_Result server::send(MHD_Connection *connection, reply content) {
    auto *body = new std::string(std::move(content.body));
    MHD_Response *response = MHD_create_response_from_buffer_with_free_callback_cls(
        body->size(), body->data(), [](void *owned) { delete static_cast<std::string *>(owned); }, body);
    if (response == nullptr) {
        delete body;
        return MHD_NO;
    }
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, json_type);
    MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
    if (content.header != nullptr)
        MHD_add_response_header(response, content.header, content.header_value);
    if (stop_requested())
        MHD_add_response_header(response, MHD_HTTP_HEADER_CONNECTION, "close");
    const MHD_Result queued = MHD_queue_response(connection, content.status, response);
    MHD_destroy_response(response);
    return queued;
}

} // namespace

void serve(int listener, const std::string &token, std::chrono::seconds timeout) {
    server(listener, token, timeout).run();
}

} // namespace apid
