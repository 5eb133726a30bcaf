// "/whiteboard/get_config": settings, branding and the companion plug-in's part in one response.
#include "batch/models.h"
#include "batch/read.h"
#include "platform/host.h"

#include <json-c/json.h>
#include <syslog.h>

namespace {

// falcon is read as a model without a table of its own here, and its bands are never swapped.
constexpr const char *ardea_models_read[] = {"heron", "egret", "crane", "stork"};

// clang-format off
constexpr family named_families[] = {
    // models           table              radios  zero when empty  applier
    {ardea_models_read, batch_list_ardea,  2,      two_radio_flags, nullptr},
    {mt76x8_models,     batch_list_mt76x8, 1,      one_radio_flags, nullptr},
    {mt7615_models,     batch_list_mt7615, 2,      two_radio_flags, nullptr},
    {finch_models,      batch_list_finch,  1,      {},              nullptr},
};
// clang-format on

constexpr family_list readable_families = {
    .named = named_families,
    .one_radio = {{}, batch_list2, 1, one_radio_flags, nullptr},
    .two_radios = {{}, batch_list1, 2, two_radio_flags, nullptr},
};

} // namespace

int batch_get_wbf(json_object *in, json_object *out) {
    read_settings(readable_families, in, out, nullptr);
    get_customer_files(in, out);
    custom_api_dispatcher("/xwf/batch_get", in, out);
    syslog(LOG_INFO, "output=%s\n", json_object_to_json_string_ext(out, JSON_C_TO_STRING_PLAIN));
    return 0;
}
