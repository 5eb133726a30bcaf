// SPDX-License-Identifier: Apache-2.0
// What clients send to the daemon, as far as it reads it: JSON against a grammar of our own, queries, and
// requests, which must not mean anything else when they arrive in pieces. The first byte of an input says
// which.
#include "devkit/apid/json.h"
#include "devkit/apid/refusal.h"
#include "devkit/apid/request.h"
#include "devkit/apid/text.h"
#include "tests/fuzz/bytes.h"
#include "tests/fuzz/expect.h"
#include "tests/fuzz/json_grammar.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

// --- JSON ----------------------------------------------------------------------------------------

std::string text_of(json_object *object) {
    size_t length = 0;
    const char *text = json_object_to_json_string_length(object, JSON_C_TO_STRING_PLAIN, &length);
    return {text, length};
}

void read_json(std::string_view text) {
    const apid::json_ptr object = apid::parse_object(text);
    const bool is_json = fuzz::is_json_object(text, apid::max_nesting);
    fuzz::expect((object != nullptr) == is_json, is_json ? "JSON is taken" : "what is no JSON is refused",
                 text);
    if (object == nullptr)
        return;
    const std::string written = apid::repair_utf8(text_of(object.get()));
    const apid::json_ptr again = apid::parse_object(written);
    fuzz::expect(again != nullptr, "what was taken is written as JSON", written);
    fuzz::expect(text_of(again.get()) == text_of(object.get()), "what was taken is written the same",
                 written);
}

// --- Queries -------------------------------------------------------------------------------------

size_t count_names(std::string_view query) {
    size_t count = 0;
    while (!query.empty()) {
        const std::string_view parameter = query.substr(0, query.find('&'));
        count += apid::decode_percent(parameter.substr(0, parameter.find('='))) == "name" ? 1 : 0;
        query.remove_prefix(std::min(parameter.size() + 1, query.size()));
    }
    return count;
}

void expect_text(json_object *value, std::string_view query) {
    fuzz::expect(json_object_is_type(value, json_type_string), "a parameter is a text", query);
    const std::string_view text(json_object_get_string(value),
                                static_cast<size_t>(json_object_get_string_len(value)));
    fuzz::expect(apid::is_utf8(text) && text.find('\0') == std::string_view::npos,
                 "a parameter reaches to its end", text);
}

// A query has no control characters: the head's scanner lets none pass.
void read_query(std::string_view bytes) {
    std::string query(bytes);
    std::erase_if(query, apid::is_control);
    const apid::json_ptr request = apid::parse_query(query);
    if (request == nullptr) {
        fuzz::expect(!apid::is_utf8(query) || query.find('%') != std::string::npos,
                     "only bad UTF-8 is refused", query);
        return;
    }
    json_object_object_foreach(request.get(), key, value) {
        if (std::string_view(key) != "name") {
            expect_text(value, query);
            continue;
        }
        fuzz::expect(json_object_array_length(value) == count_names(query), "every name is an element",
                     query);
        for (size_t at = 0; at < json_object_array_length(value); ++at)
            expect_text(json_object_array_get_idx(value, at), query);
    }
}

// --- Requests ------------------------------------------------------------------------------------

// What is taken from a stream of bytes, and how it ends: in a refusal or in an unfinished request.
std::vector<std::string> read_stream(std::string_view stream, size_t piece) {
    std::vector<std::string> found;
    apid::request_reader reader;
    std::string input;
    while (true) {
        switch (reader.read(input)) {
        case apid::request_reader::progress::wants_more:
            if (stream.empty()) {
                found.push_back("unfinished, with " + std::to_string(input.size() + reader.received()) +
                                " bytes");
                return found;
            }
            input += stream.substr(0, piece);
            stream.remove_prefix(std::min(piece, stream.size()));
            break;
        case apid::request_reader::progress::has_head:
            found.push_back(reader.current().method + " " + reader.current().path + "?" +
                            reader.current().query);
            if (const auto refused = apid::refuse_ambiguity(reader.current())) {
                found.push_back(std::to_string(refused->status));
                return found;
            }
            break;
        case apid::request_reader::progress::is_whole:
            found.push_back(reader.current().body);
            reader = {};
            break;
        case apid::request_reader::progress::is_refused:
            fuzz::expect(reader.refusal().status >= 400 && reader.refusal().status < 600,
                         "a refusal is an error");
            found.push_back(std::to_string(reader.refusal().status) + " " + reader.refusal().body);
            return found;
        }
    }
}

void read_requests(fuzz::bytes input) {
    const size_t piece = input.below(8) + 1;
    const std::vector<std::string> at_once = read_stream(input.rest(), input.rest().size() + 1);
    const std::vector<std::string> in_pieces = read_stream(input.rest(), piece);
    if (at_once == in_pieces)
        return;
    for (const std::string &each : at_once)
        fuzz::show("at once", each);
    for (const std::string &each : in_pieces)
        fuzz::show("in pieces", each);
    fuzz::expect(false, "requests mean the same however they arrive", input.rest());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::bytes input(data, size);
    switch (input.next() % 4) {
    case 0:
        read_json(input.rest());
        break;
    case 1:
        read_query(input.rest());
        break;
    default:
        read_requests(input);
    }
    return 0;
}
