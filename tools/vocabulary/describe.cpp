// SPDX-License-Identifier: Apache-2.0
// What the plug-in says of itself, and what keys mean, for programs.
#include "tools/vocabulary/describe.h"

#include "devkit/rehearsal/stage.h"
#include "tools/front/commands.h"
#include "tools/front/places.h"
#include "tools/plan/json.h"
#include "tools/plan/plugin_file.h"
#include "tools/plan/snapshot.h"
#include "tools/vocabulary/keys.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace {

using plan::json_owner;

void add(const json_owner &object, const char *name, json_object *value) {
    json_object_object_add(object.get(), name, value);
}

json_object *text(const char *value) { return value == nullptr ? nullptr : json_object_new_string(value); }

// --- The plug-in

json_object *routes() {
    stage_begin();
    uint32_t count = 0;
    const api_entity *rows = stage_functions()->get_api_entity(&count);
    stage_end();
    json_object *list = json_object_new_array();
    for (const api_entity &row : std::span(rows, count)) {
        const json_owner object(json_object_new_object());
        add(object, "path", text(row.path));
        add(object, "method", text(row.method));
        json_object_array_add(list, json_object_get(object.get()));
    }
    return list;
}

json_object *rows_of(const stage_table &table) {
    json_object *list = json_object_new_array();
    for (const batch_entry &row : std::span(table.rows, table.row_count)) {
        const json_owner object(json_object_new_object());
        add(object, "path", text(row.uci_path));
        add(object, "key", text(row.json_key));
        add(object, "pattern", text(row.pattern));
        json_object_array_add(list, json_object_get(object.get()));
    }
    return list;
}

json_object *tables() {
    size_t count = 0;
    const stage_table *first = stage_tables(&count);
    json_object *object = json_object_new_object();
    for (const stage_table &table : std::span(first, count))
        json_object_object_add(object, table.name, rows_of(table));
    return object;
}

// --- The meanings

json_object *words_of(std::string_view words) {
    json_object *list = json_object_new_array();
    while (!words.empty()) {
        const std::string_view word = words.substr(0, words.find('|'));
        json_object_array_add(list, json_object_new_string_len(word.data(), static_cast<int>(word.size())));
        words.remove_prefix(std::min(word.size() + 1, words.size()));
    }
    return list;
}

// The value of a column, as a request has it.
json_object *value_of(const vocabulary::key &row, const char *column) {
    return row.kind == vocabulary::kind::text ? text(column)
                                              : plan::parse_json(column, plan::json_use::request).release();
}

json_object *keys() {
    json_object *list = json_object_new_array();
    for (const vocabulary::key &row : vocabulary::keys()) {
        const json_owner object(json_object_new_object());
        add(object, "name", text(row.name));
        add(object, "title", text(row.title));
        add(object, "unit", text(row.unit));
        add(object, "group", text(to_text(row.group)));
        add(object, "kind", text(to_text(row.kind)));
        add(object, "secret", json_object_new_boolean(row.secrecy == vocabulary::secrecy::secret));
        add(object, "example", value_of(row, row.example));
        add(object, "other", value_of(row, row.other));
        add(object, "description", text(row.description));
        add(object, "words", words_of(row.words));
        json_object_array_add(list, json_object_get(object.get()));
    }
    return list;
}

int refuse(const std::string &problem) {
    std::fprintf(stderr, "aerolink describe: %s\n", problem.c_str());
    return exit_wrong;
}

int show_usage() {
    std::puts(
        "usage: aerolink describe [--plugin FILE]\n"
        "\n"
        "Prints one JSON object for programs: the plug-in's routes and batch tables, and what keys mean.\n"
        "\n"
        "  --plugin FILE   the plug-in (aerolink.so of this installation when none is given)\n"
        "\n"
        "Exit status: 0; 1 for wrong use, or a plug-in that cannot be used.");
    return exit_fine;
}

} // namespace

int run_describe(int count, char **words) {
    std::string plugin = installed_plugin();
    if (count == 2 && std::strcmp(words[1], "--help") == 0)
        return show_usage();
    if (count == 3 && std::strcmp(words[1], "--plugin") == 0)
        plugin = words[2];
    else if (count != 1)
        return refuse("takes no words but --plugin FILE");
    try {
        plan::load_plugin(plugin);
    } catch (const plan::input_error &problem) {
        return refuse(problem.what());
    }
    const json_owner all(json_object_new_object());
    add(all, "version", text(AEROLINK_VERSION));
    add(all, "routes", routes());
    add(all, "tables", tables());
    add(all, "keys", keys());
    std::puts(
        json_object_to_json_string_ext(all.get(), JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE));
    return std::fflush(stdout) == 0 ? exit_fine : refuse("standard output cannot be written");
}
