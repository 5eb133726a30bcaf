// SPDX-License-Identifier: Apache-2.0
// Runs handlers, and keeps the references that they may release.
//
// A handler that does a named read releases one reference of the request's "name" member, any other handler
// releases none, and nothing tells which it was. So the daemon holds one reference for each run of a handler
// and one that is its own. After the run, with the response gone and the member out of the request, all
// references that are left are the daemon's: it drops them until the member is freed.
#include "devkit/apid/exchange.h"

#include "devkit/apid/routes.h"
#include "devkit/apid/text.h"
#include "devkit/apid/trace.h"
#include "platform/host.h"

#include <utility>

namespace apid {

namespace {

json_object *held_name = nullptr; // the "name" of the request in work

json_object *name_of(json_object *request) { return json_object_object_get(request, "name"); }

// Holds the member for the scope.
class name_hold {
public:
    explicit name_hold(json_object *request) : request_(request) {
        held_name = json_object_get(name_of(request));
    }
    ~name_hold() {
        json_object_object_del(request_, "name");
        while (held_name != nullptr && json_object_put(held_name) == 0) {
        }
        held_name = nullptr;
    }
    name_hold(const name_hold &) = delete;
    name_hold &operator=(const name_hold &) = delete;

private:
    json_object *request_;
};

int run_handler(const route &target, json_object *request, json_object *response) {
    json_object *name = name_of(request);
    if (name == held_name)
        json_object_get(name);
    return target.handler(request, response);
}

void trace_dispatch(const char *kind, const char *path) {
    if (!trace::is_kept())
        return;
    trace::add(kind, {{"path", json_object_new_string(path)}});
}

std::string reply_text(int result, json_ptr response) {
    const json_ptr reply = new_object();
    add_member(reply.get(), "result", new_number(result));
    add_member(reply.get(), "response", std::move(response));
    const std::string_view text =
        to_text(reply.get(), JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
    json_object_object_del(reply.get(), "response"); // before the text, which may be long, is copied
    return repair_utf8(text);
}

} // namespace

outcome exchange(const route &target, json_ptr request, json_ptr response) {
    const name_hold hold(request.get());
    outcome done{};
    done.result = run_handler(target, request.get(), response.get());
    done.body = reply_text(done.result, std::move(response));
    return done;
}

} // namespace apid

extern "C" __attribute__((visibility("default"))) int
custom_api_dispatcher(const char *path, json_object *request, json_object *response) {
    const apid::route *target = apid::find_route(path);
    if (target == nullptr)
        return -1;
    // What is recorded between these two is the other plug-in's.
    apid::trace_dispatch("dispatch", path);
    const int result = apid::run_handler(*target, request, response);
    apid::trace_dispatch("dispatched", path);
    return result;
}
