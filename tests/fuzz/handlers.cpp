// SPDX-License-Identifier: Apache-2.0
// Requests to every route and calls of every exported function, one after another in one world. Whatever the
// world and the requests are, the plug-in keeps to its side of the contracts with the platform and the
// daemon.
#include "devkit/rehearsal/stage.h"
#include "tests/fuzz/expect.h"
#include "tests/fuzz/models.h"
#include "tests/fuzz/requests.h"
#include "tests/fuzz/texts.h"
#include "tests/fuzz/world.h"
#include "tools/vocabulary/keys.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

// Everything that takes a request and a response: the routes, and what else is exported.
const std::vector<stage_handler *> &handlers() {
    static const std::vector<stage_handler *> found = [] {
        std::vector<stage_handler *> all;
        uint32_t count = 0;
        stage_begin();
        const api_entity *routes = stage_functions()->get_api_entity(&count);
        stage_end();
        for (uint32_t at = 0; at < count; ++at)
            all.push_back(stage_route(routes[at].method, routes[at].path));
        for (const char *name :
             {"batch_set_common", "batch_set_finch", "batch_set_heron", "batch_set_mt", "batch_set_mt7615",
              "batch_set_heron_wbf", "batch_set_mt_wbf", "get_customer_files", "set_customer_files"})
            all.push_back(stage_handler_named(name));
        for (stage_handler *each : all)
            fuzz::expect(each != nullptr, "every route and every function can be called");
        return all;
    }();
    return found;
}

// --- Promises ------------------------------------------------------------------------------------

void expect_no_violation() {
    size_t count = 0;
    const stage_violation *violations = stage_violations(&count);
    for (size_t at = 0; at < count; ++at)
        fuzz::expect(false, violations[at].text, violations[at].key ? violations[at].key : "");
}

const char *member(json_object *object, const char *key) {
    json_object *value = json_object_object_get(object, key);
    return value ? json_object_get_string(value) : "";
}

void expect_result(const stage_result &outcome) {
    const int result = outcome.result;
    fuzz::expect(result == 0 || result == -4 || result == -5 || result == -24, "a result is one of four",
                 std::to_string(result));
    fuzz::expect(result != -5 || std::string_view(member(outcome.response, "msg")) == "missing parameters",
                 "what is missing is said to be", json_object_to_json_string(outcome.response));
}

// What a request holds is stored whole or not at all: no option ends with a long text's beginning.
void expect_whole(json_object *request) {
    constexpr size_t longest_derived = 32;
    size_t count = 0;
    const stage_effect *effects = stage_effects(&count);
    for (size_t at = 0; at < count; ++at) {
        const stage_effect &effect = effects[at];
        json_object *asked = effect.key ? json_object_object_get(request, effect.key) : nullptr;
        if (effect.kind != stage_set || !effect.value || !json_object_is_type(asked, json_type_string))
            continue;
        const std::string_view text = json_object_get_string(asked);
        const std::string_view value = effect.value;
        fuzz::expect(value.size() <= longest_derived || value.size() >= text.size() ||
                         !text.starts_with(value),
                     "no value of a request is cut", effect.key);
    }
}

// Without a context nothing is written, and only then.
void expect_contexts() {
    size_t count = 0;
    const stage_effect *effects = stage_effects(&count);
    for (size_t at = 0; at < count; ++at)
        fuzz::expect(effects[at].outcome != stage_no_context, "nothing is written without a context",
                     effects[at].subject ? effects[at].subject : "");
}

void expect_promises(const stage_result &outcome, json_object *request) {
    expect_no_violation();
    expect_result(outcome);
    expect_whole(request);
    expect_contexts();
}

// --- Calls ---------------------------------------------------------------------------------------

void call_handler(fuzz::bytes &input) {
    stage_handler *handler = handlers()[input.below(handlers().size())];
    const fuzz::json request = fuzz::draw_request(input);
    expect_promises(stage_play(handler, request.get()), request.get());
}

void call_default(fuzz::bytes &input) {
    const char *model = fuzz::models[input.below(std::size(fuzz::models))];
    const int dual = static_cast<int>(input.below(3));
    const fuzz::json request = fuzz::draw_request(input);
    expect_promises(stage_play_default(request.get(), model, dual), request.get());
}

// The buffer ends where the size says.
int power_key(fuzz::bytes &input) {
    const size_t size = input.next() * 2;
    const std::vector<char> exact(size);
    std::vector<char> out = exact;
    const int result = stage_functions()->get_txpower_max_key(fuzz::draw_text(input).c_str(), out.data(),
                                                              static_cast<int>(size));
    fuzz::expect(result == 1 || std::memchr(out.data(), '\0', size) != nullptr,
                 "a path ends within its buffer");
    return result;
}

int call_by_number(fuzz::bytes &input) {
    const stage_function_set &call = *stage_functions();
    switch (input.below(9)) {
    case 0:
        return call.cmm_net_reachable2();
    case 1:
        return call.wbf_update_fw_type() & 1; // the status of a command
    case 2:
        return power_key(input);
    case 3:
        return call.txpower_max_2g(static_cast<int>(input.below(6)) - 1, fuzz::draw_text(input).c_str());
    case 4:
        return call.txpower_max_5g(static_cast<int>(input.below(6)) - 1, fuzz::draw_text(input).c_str());
    case 5:
        return call.txpower_max_set(input.flip() ? "2g_txpower" : fuzz::draw_text(input).c_str(),
                                    fuzz::draw_text(input).c_str(), fuzz::draw_text(input).c_str());
    case 6: {
        const int result = call.batch_set_pwd(fuzz::draw_text(input).c_str());
        fuzz::expect(result == 0 || result == -4, "a password is taken or refused", std::to_string(result));
        return 0;
    }
    case 7:
        return call.batch_set_language(fuzz::draw_text(input).c_str());
    default:
        uint32_t count = 0;
        call.get_api_entity(&count);
        return count == 11 ? 0 : -1;
    }
}

void call_function(fuzz::bytes &input) {
    stage_begin();
    const int result = call_by_number(input);
    stage_end();
    fuzz::expect(result == 0 || result == 1, "a function gives 0 or 1", std::to_string(result));
    expect_no_violation();
    expect_contexts();
}

} // namespace

// Before the engine counts the edges that there are.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    const char *wrong = stage_load(FUZZ_PLUGIN);
    fuzz::expect(wrong == nullptr, "the plug-in can be loaded", wrong ? wrong : "");
    stage_set_listener(
        [](void *, const char *member) {
            fuzz::expect(vocabulary::find_key(member) != nullptr,
                         "the table of keys has what a request is asked for", member);
        },
        nullptr);
    stage_mark();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::bytes input(data, size);
    fuzz::set_world(input);
    for (int calls = 0; calls < 4 && !input.empty(); ++calls) {
        switch (input.below(16)) {
        case 0:
        case 1:
            call_function(input);
            break;
        case 2:
            call_default(input);
            break;
        default:
            call_handler(input);
        }
        fuzz::answer_commands(input);
    }
    stage_put_back();
    return 0;
}
