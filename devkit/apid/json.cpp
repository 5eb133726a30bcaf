// SPDX-License-Identifier: Apache-2.0
// Requests as JSON objects.
#include "devkit/apid/json.h"

#include "devkit/apid/text.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>

namespace apid {

namespace {

struct tokener_release {
    void operator()(json_tokener *tokener) const { json_tokener_free(tokener); }
};

std::string decode_form(std::string_view text) {
    std::string spaced(text);
    std::replace(spaced.begin(), spaced.end(), '+', ' ');
    return decode_percent(spaced);
}

// The object, unless there was no memory for it.
json_ptr checked(json_object *made) {
    if (made == nullptr)
        throw std::bad_alloc();
    return json_ptr(made);
}

// What json-c has been asked to take over, and whether it did.
void settle(json_ptr &value, int error) {
    if (error != 0)
        throw std::bad_alloc();
    static_cast<void>(value.release());
}

json_object *names_of(json_object *request) {
    if (json_object_object_get(request, "name") == nullptr)
        add_member(request, "name", checked(json_object_new_array()));
    return json_object_object_get(request, "name");
}

void add_name(json_object *request, json_ptr text) {
    json_object *names = names_of(request);
    settle(text, json_object_array_add(names, text.get()));
}

// False when the parameter is not UTF-8.
bool add_parameter(json_object *request, std::string_view parameter) {
    const size_t equals = std::min(parameter.find('='), parameter.size());
    const std::string key = decode_form(parameter.substr(0, equals));
    const std::string value = decode_form(parameter.substr(std::min(equals + 1, parameter.size())));
    if (!is_utf8(key) || !is_utf8(value))
        return false;
    if (key == "name")
        add_name(request, new_text(value));
    else
        add_member(request, key.c_str(), new_text(value));
    return true;
}

} // namespace

json_ptr new_object() { return checked(json_object_new_object()); }

json_ptr new_text(std::string_view text) {
    return checked(json_object_new_string_len(text.data(), static_cast<int>(text.size())));
}

json_ptr new_number(int number) { return checked(json_object_new_int(number)); }

void add_member(json_object *object, const char *key, json_ptr value) {
    settle(value, json_object_object_add(object, key, value.get()));
}

std::string_view to_text(json_object *object, int flags) {
    size_t length = 0;
    const char *text = json_object_to_json_string_length(object, flags, &length);
    if (text == nullptr)
        throw std::bad_alloc();
    return {text, length};
}

json_ptr parse_object(std::string_view text) {
    // json-c's own check of UTF-8 lets surrogates and overlong forms pass.
    if (!is_utf8(text))
        return nullptr;
    // To json-c the value is a level too.
    const std::unique_ptr<json_tokener, tokener_release> tokener(json_tokener_new_ex(max_nesting + 1));
    if (tokener == nullptr)
        throw std::bad_alloc();
    json_tokener_set_flags(tokener.get(), JSON_TOKENER_STRICT);
    errno = 0; // json-c tells want of memory from a wrong text in no other way
    json_ptr object(json_tokener_parse_ex(tokener.get(), text.data(), static_cast<int>(text.size())));
    if (errno == ENOMEM)
        throw std::bad_alloc();
    if (json_tokener_get_error(tokener.get()) != json_tokener_success ||
        json_tokener_get_parse_end(tokener.get()) != text.size() ||
        !json_object_is_type(object.get(), json_type_object) || !is_plain_json(text))
        return nullptr;
    return object;
}

json_ptr parse_query(std::string_view query) {
    json_ptr request = new_object();
    while (!query.empty()) {
        const std::string_view parameter = query.substr(0, query.find('&'));
        query.remove_prefix(std::min(parameter.size() + 1, query.size()));
        if (!parameter.empty() && !add_parameter(request.get(), parameter))
            return nullptr;
    }
    return request;
}

} // namespace apid
