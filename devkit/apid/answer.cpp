// SPDX-License-Identifier: Apache-2.0
// Answers whole requests.
#include "devkit/apid/answer.h"

#include "devkit/apid/exchange.h"
#include "devkit/apid/request.h"
#include "devkit/apid/routes.h"
#include "devkit/apid/trace.h"

#include <new>
#include <syslog.h>
#include <utility>

namespace apid {

namespace {

constexpr size_t max_traced = size_t{1} << 20; // bytes; what is longer the record does not repeat

unsigned status_of(int result) {
    switch (result) {
    case 0:
        return 200;
    case -4: // a value is not acceptable
        return 422;
    case -5: // a member is missing
        return 400;
    case -24: // the internet is not reachable
        return 503;
    default:
        return 500;
    }
}

void trace_request(const request &asked, json_object *object) {
    if (!trace::is_kept())
        return;
    trace::add("request", {{"method", json_object_new_string(asked.method.c_str())},
                           {"path", json_object_new_string(asked.path.c_str())},
                           {"request", json_object_get(object)}});
}

void trace_reply(const outcome &done, unsigned status) {
    if (!trace::is_kept())
        return;
    const std::pair number("status", json_object_new_int(static_cast<int>(status)));
    if (done.body.size() > max_traced)
        trace::add("reply", {number});
    else
        trace::add("reply", {number, {"reply", json_tokener_parse(done.body.c_str())}});
}

// Null when it is none.
json_ptr object_of(const request &asked, bool is_get) {
    return is_get ? parse_query(asked.query) : parse_object(asked.body);
}

} // namespace

reply answer(const request &asked, const route &target) {
    const bool is_get = target.method == "GET";
    json_ptr object;
    json_ptr response;
    try {
        object = object_of(asked, is_get);
        response = new_object();
    } catch (const std::bad_alloc &) {
        return error_reply(500, "the request does not fit into memory");
    }
    if (object == nullptr)
        return error_reply(400, is_get ? "the query is not UTF-8" : "the body is not a JSON object");
    trace_request(asked, object.get());
    outcome done = exchange(target, std::move(object), std::move(response));
    const unsigned status = status_of(done.result);
    trace_reply(done, status);
    syslog(LOG_INFO, "%s %s: result %d, status %u", target.method.c_str(), asked.path.c_str(), done.result,
           status);
    return {.status = status, .body = std::move(done.body)};
}

} // namespace apid
