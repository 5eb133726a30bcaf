// SPDX-License-Identifier: Apache-2.0
// `ubus` as the router has it, with the one object that matters here: "mqtt", which the cloud client offers
// while it runs. A call is noted in the journal, checked, and handed to the client as one line on its event
// pipe.
#include <fcntl.h>
#include <json-c/json.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "devkit/router/journal.h"

namespace {

constexpr const char *client_events = "/tmp/run/zu_mqtt.events";

enum status { ok = 0, invalid_argument = 2, method_not_found = 3, not_found = 4 };

int fail(status code) {
    const char *text = code == invalid_argument   ? "Invalid argument"
                       : code == method_not_found ? "Method not found"
                                                  : "Not found";
    fprintf(stderr, "Command failed: %s\n", text);
    return code;
}

struct json_release {
    void operator()(json_object *object) const { json_object_put(object); }
};
using json_pointer = std::unique_ptr<json_object, json_release>;

// The payload when it is one whole JSON object, else null.
json_pointer parse_object(const std::string &text) {
    const std::unique_ptr<json_tokener, decltype(&json_tokener_free)> tokener(json_tokener_new(),
                                                                              json_tokener_free);
    json_tokener_set_flags(tokener.get(), JSON_TOKENER_STRICT);
    json_pointer object(
        json_tokener_parse_ex(tokener.get(), text.c_str(), static_cast<int>(text.size() + 1)));
    if (json_tokener_get_error(tokener.get()) != json_tokener_success ||
        !json_object_is_type(object.get(), json_type_object))
        return nullptr;
    return object;
}

std::optional<std::string> debug_event(json_object *payload) {
    json_object *level = nullptr;
    if (!json_object_object_get_ex(payload, "level", &level) || !json_object_is_type(level, json_type_int))
        return std::nullopt;
    const int value = json_object_get_int(level);
    if (value < 0 || value > 7)
        return std::nullopt;
    return "debug " + std::to_string(value);
}

// The client's event line for a call, or nothing when the method does not take that payload.
std::optional<std::string> event_line(const std::string &method, const char *payload_text) {
    if (method == "notify")
        return payload_text == nullptr ? std::optional("notify") : std::nullopt;
    const json_pointer payload = payload_text == nullptr ? nullptr : parse_object(payload_text);
    if (!payload)
        return std::nullopt;
    if (method == "debug")
        return debug_event(payload.get());
    return "pub " + std::string(json_object_to_json_string_ext(payload.get(), JSON_C_TO_STRING_PLAIN));
}

// False when the client does not run, or when the line is longer than a pipe takes in one piece.
bool deliver(const std::string &line) {
    if (line.size() + 1 > PIPE_BUF)
        return false;
    const int pipe = open(client_events, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (pipe < 0)
        return false;
    const std::string text = line + '\n';
    const bool written = write(pipe, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(pipe);
    return written;
}

int call(std::span<char *const> words) {
    const std::string object = words[0];
    const std::string method = words[1];
    if (object != "mqtt")
        return fail(not_found);
    if (method != "pub" && method != "debug" && method != "notify")
        return fail(method_not_found);
    const auto event = event_line(method, words.size() > 2 ? words[2] : nullptr);
    if (!event)
        return fail(invalid_argument);
    return deliver(*event) ? ok : fail(not_found);
}

} // namespace

int main(int argc, char **argv) {
    const std::span<char *const> arguments(argv + 1, static_cast<size_t>(argc - 1));
    journal_append("ubus", arguments);
    if (arguments.size() < 3 || arguments.size() > 4 || std::string(arguments[0]) != "call") {
        fputs("usage: ubus call OBJECT METHOD [JSON]\n", stderr);
        return invalid_argument;
    }
    return call(arguments.subspan(1));
}
