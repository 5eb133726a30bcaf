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

void add_name(json_object *request, json_object *text) {
    json_object *names = json_object_object_get(request, "name");
    if (names == nullptr) {
        names = json_object_new_array();
        json_object_object_add(request, "name", names);
    }
    json_object_array_add(names, text);
}

// False when the parameter is not UTF-8.
bool add_parameter(json_object *request, std::string_view parameter) {
    const size_t equals = std::min(parameter.find('='), parameter.size());
    const std::string key = decode_form(parameter.substr(0, equals));
    const std::string value = decode_form(parameter.substr(std::min(equals + 1, parameter.size())));
    if (!is_utf8(key) || !is_utf8(value))
        return false;
    json_object *text = json_object_new_string_len(value.data(), static_cast<int>(value.size()));
    if (key == "name")
        add_name(request, text);
    else
        json_object_object_add(request, key.c_str(), text);
    return true;
}

} // namespace

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
    if (object == nullptr && errno == ENOMEM)
        throw std::bad_alloc();
    if (json_tokener_get_error(tokener.get()) != json_tokener_success ||
        json_tokener_get_parse_end(tokener.get()) != text.size() ||
        !json_object_is_type(object.get(), json_type_object) || !is_plain_json(text))
        return nullptr;
    return object;
}

json_ptr parse_query(std::string_view query) {
    json_ptr request(json_object_new_object());
    while (!query.empty()) {
        const std::string_view parameter = query.substr(0, query.find('&'));
        query.remove_prefix(std::min(parameter.size() + 1, query.size()));
        if (!parameter.empty() && !add_parameter(request.get(), parameter))
            return nullptr;
    }
    return request;
}

} // namespace apid
