// SPDX-License-Identifier: Apache-2.0
// Plays on the stage. usage: rehearsal_tests PLUGIN [GoogleTest's arguments]
#include "tests/rehearsal/play.h"

#include <cstdio>
#include <cstdlib>
#include <json-c/json.h>
#include <memory>

const std::vector<tested_model> tested_models = {
    {"heron", 2},  {"egret", 2}, {"crane", 2}, {"falcon", 2}, {"plover", 1}, {"plover-v2", 1},
    {"linnet", 1}, {"wren", 2},  {"finch", 1}, {"osprey", 2}, {"lark", 2},   {"sandpiper", 1}};

std::ostream &operator<<(std::ostream &out, const played &play) {
    out << "result " << play.result << ", " << play.seconds << " s, " << play.response << '\n';
    for (const effect &one : play.effects)
        out << "  " << one.text << (one.unforeseen ? " (unforeseen)" : "")
            << (one.key ? " [" + *one.key + "]" : "") << '\n';
    for (const std::string &violation : play.violations)
        out << "  violation: " << violation << '\n';
    return out;
}

namespace {

using json = std::unique_ptr<json_object, int (*)(json_object *)>;

std::string or_null(const char *text) { return text != nullptr ? text : "(null)"; }

bool is_command(stage_kind kind) {
    return kind == stage_system || kind == stage_exec || kind == stage_fork || kind == stage_line ||
           kind == stage_ucireturn || kind == stage_popen;
}

effect copy_of(const stage_effect &source) {
    std::string text = stage_kind_name(source.kind);
    for (const char *part : {source.subject, source.parameter, source.value})
        text += "|" + or_null(part);
    text += "|" + std::to_string(source.outcome) + "|" + std::to_string(source.number);
    return {.text = text,
            .key = source.key != nullptr ? std::optional<std::string>(source.key) : std::nullopt,
            .command = is_command(source.kind) ? or_null(source.subject) : "",
            .unforeseen = source.unforeseen};
}

played record_of(const stage_result &result) {
    played record = {.result = result.result,
                     .response = json_object_to_json_string_ext(result.response, JSON_C_TO_STRING_PLAIN),
                     .effects = {},
                     .violations = {},
                     .seconds = stage_seconds()};
    size_t count = 0;
    const stage_effect *effects = stage_effects(&count);
    for (size_t i = 0; i < count; ++i)
        record.effects.push_back(copy_of(effects[i]));
    const stage_violation *violations = stage_violations(&count);
    for (size_t i = 0; i < count; ++i)
        record.violations.emplace_back(violations[i].text);
    return record;
}

} // namespace

stage_test::stage_test() : list_(option_list_new()) {
    stage_clear();
    const stage_uci uci = option_list_uci(list_);
    stage_set_uci(&uci);
}

stage_test::~stage_test() {
    stage_clear();
    option_list_free(list_);
}

void stage_test::set_device(const std::string &model, int radios) {
    model_ = model;
    const stage_device device = {.model = model_.c_str(),
                                 .service_code = "ABCD1234",
                                 .ddns_name = nullptr,
                                 .internet = true,
                                 .log = nullptr,
                                 .sha256 = nullptr};
    stage_set_device(&device);
    for (int radio = 0; radio < radios; ++radio)
        set_option("wireless.radio" + std::to_string(radio), "wifi-device");
}

void stage_test::set_option(const std::string &path, const std::string &value) {
    option_list_put(list_, path.c_str(), value.c_str());
}

std::string stage_test::option(const std::string &path) const {
    const char *value = option_list_get(list_, path.c_str());
    return value != nullptr ? value : "(unset)";
}

options stage_test::configuration() const {
    options all;
    for (size_t i = 0; i < option_list_length(list_); ++i)
        all[option_list_at(list_, i).path] = option_list_at(list_, i).value;
    return all;
}

std::string stage_test::file(const std::string &path) {
    size_t length = 0;
    const char *content = stage_file(path.c_str(), &length);
    return content != nullptr ? std::string(content, length) : "(missing)";
}

void stage_test::put_file(const std::string &path, const std::string &content) {
    stage_put_file(path.c_str(), content.data(), content.size());
}

played stage_test::play(const char *route, const std::string &text) {
    const json parsed(json_tokener_parse(text.c_str()), json_object_put);
    return record_of(stage_play(stage_route(nullptr, route), parsed.get()));
}

played stage_test::play(const char *route, const request &members) {
    const json object(json_object_new_object(), json_object_put);
    for (const auto &[key, value] : members)
        json_object_object_add(object.get(), key.c_str(), json_object_new_string(value.c_str()));
    return record_of(stage_play(stage_route(nullptr, route), object.get()));
}

std::vector<table_row> all_rows() {
    std::vector<table_row> rows;
    size_t count = 0;
    const stage_table *tables = stage_tables(&count);
    for (size_t i = 0; i < count; ++i)
        for (size_t row = 0; row < tables[i].row_count; ++row) {
            const batch_entry &entry = tables[i].rows[row];
            rows.push_back({tables[i].name, entry.uci_path, entry.json_key, entry.pattern});
        }
    return rows;
}

std::string accepted_value(const table_row &row) {
    static const std::map<std::string, std::string> by_key = {{"2g_txpower", "high"},
                                                              {"5g_txpower", "low"},
                                                              {"2g_htmode", "HT40"},
                                                              {"5g_htmode", "VHT40"},
                                                              {"system_timezone", "Europe/Berlin"},
                                                              {"reboot_flag", "0"},
                                                              {"language", "CN"}};
    const auto found = by_key.find(row.key);
    if (found != by_key.end())
        return found->second;
    for (const char *candidate : {"new value", "192.168.9.1", "https://a.example/x"})
        if (row.pattern == nullptr || stage_functions()->regex_exe(row.pattern, candidate) == 1)
            return candidate;
    ADD_FAILURE() << "no value for " << row.key;
    return "";
}

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const char *error = argc == 2 ? stage_load(argv[1]) : "usage: rehearsal_tests PLUGIN";
    if (error != nullptr) {
        std::fprintf(stderr, "%s\n", error);
        return EXIT_FAILURE;
    }
    return RUN_ALL_TESTS();
}
