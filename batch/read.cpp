// SPDX-License-Identifier: Apache-2.0
// Reads the settings of a device in the vocabulary of the batch tables.
#include "batch/read.h"

#include "platform/zuutil.h"
#include "plugin/command.h"
#include "plugin/text.h"
#include "plugin/uci.h"

#include <iterator>
#include <json-c/json.h>

namespace {

constexpr size_t option_size = 512;
constexpr size_t quoted_key_size = 128;
constexpr size_t reboot_flag_size = 16;

// --- By name -------------------------------------------------------------------------------------

// The element's JSON text is compared, so that nothing but a string can be a key.
bool names_key(json_object *element, const char *key) {
    char quoted[quoted_key_size];
    return format(quoted, "\"%s\"", key) && equal(quoted, json_object_to_json_string(element));
}

void read_named(std::span<const batch_entry> table, json_object *element, json_object *out,
                zuci2_context *ctx) {
    for (const batch_entry &row : table) {
        if (!names_key(element, row.json_key))
            continue;
        char value[option_size];
        read_option(ctx, row.uci_path, value);
        zjson_add_string(out, row.json_key, value);
    }
}

// Values as they are stored, "password" included; "" for an option that is not set.
void read_by_name(const readable *family::*column, const char *model, json_object *names, json_object *out,
                  zuci2_context *ctx) {
    const size_t count = json_object_is_type(names, json_type_array) ? json_object_array_length(names) : 0;
    for (size_t index = 0; index < count; ++index) {
        json_object *element = json_object_array_get_idx(names, index);
        read_named(batch_list_common, element, out, ctx);
        read_named(cell_of(column, model, ctx)->table, element, out, ctx);
    }
    json_object_put(names);
}

// --- In full -------------------------------------------------------------------------------------

static_assert(std::size(batch_list_common) <= std::size(batch_list2), "a place of the flag needs a key");

// The flag is reported inverted, and under the key that the default table has at its place ("2g_disable"),
// where the model's own row mostly replaces it. Both are part of the interface (decision 2).
void read_reboot_flag(size_t index, json_object *out) {
    char flag[reboot_flag_size];
    read_uci_line("cat /tmp/reboot_flag", flag);
    const char *key = batch_list2[index].json_key;
    if (flag[0] == '\0' || equal(flag, "1"))
        zjson_add_string(out, key, "0");
    else if (equal(flag, "0"))
        zjson_add_string(out, key, "1");
}

void read_common(json_object *out, zuci2_context *ctx) {
    for (size_t index = 0; index < std::size(batch_list_common); ++index) {
        const batch_entry &row = batch_list_common[index];
        char value[option_size];
        read_option(ctx, row.uci_path, value);
        if (equal(row.json_key, "reboot_flag"))
            read_reboot_flag(index, out);
        else
            zjson_add_string(out, row.json_key, value);
    }
}

void read_table(const readable &reported, json_object *out, zuci2_context *ctx) {
    for (const batch_entry &row : reported.table) {
        char value[option_size];
        read_option(ctx, row.uci_path, value);
        if (value[0] == '\0') {
            if (lists(reported.zero_while_unset, row.json_key))
                zjson_add_string(out, row.json_key, "0");
        } else if (!equal(row.json_key, "password")) {
            zjson_add_string(out, row.json_key, value);
        }
    }
}

} // namespace

void read_settings(const readable *family::*column, json_object *in, json_object *out,
                   void (*before_table)(const char *model)) {
    const char *model = get_model_name();
    const uci_scope uci;
    if (json_object *names = json_object_object_get(in, "name")) {
        read_by_name(column, model, names, out, uci.ctx);
        return;
    }
    read_common(out, uci.ctx);
    if (before_table)
        before_table(model);
    read_table(*cell_of(column, model, uci.ctx), out, uci.ctx);
}
