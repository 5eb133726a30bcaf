// Requests as JSON objects.
#include "devkit/apid/json.h"

#include "devkit/apid/text.h"

namespace apid {

namespace {

struct tokener_release {
    void operator()(json_tokener *tokener) const { json_tokener_free(tokener); }
};

} // namespace

json_ptr parse_object(std::string_view text) {
    // json-c's own check of UTF-8 lets surrogates and overlong forms pass.
    if (!is_utf8(text))
        return nullptr;
    // To json-c the value is a level too.
    const std::unique_ptr<json_tokener, tokener_release> tokener(json_tokener_new_ex(max_nesting + 1));
    json_tokener_set_flags(tokener.get(), JSON_TOKENER_STRICT);
    json_ptr object(json_tokener_parse_ex(tokener.get(), text.data(), static_cast<int>(text.size())));
    if (json_tokener_get_error(tokener.get()) != json_tokener_success ||
        json_tokener_get_parse_end(tokener.get()) != text.size() ||
        !json_object_is_type(object.get(), json_type_object) || !is_plain_json(text))
        return nullptr;
    return object;
}

void add_parameter(json_object *request, const char *key, const char *value) {
    json_object *text = json_object_new_string(value);
    if (std::string_view(key) != "name") {
        json_object_object_add(request, key, text);
        return;
    }
    json_object *names = json_object_object_get(request, key);
    if (names == nullptr) {
        names = json_object_new_array();
        json_object_object_add(request, key, names);
    }
    json_object_array_add(names, text);
}

} // namespace apid
