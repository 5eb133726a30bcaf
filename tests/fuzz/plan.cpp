// SPDX-License-Identifier: Apache-2.0
// What `aerolink plan` reads: snapshots in each of their forms, and plans of random requests on devices that
// differ from the factory. The first byte of an input says which.
#include "tools/plan/plan.h"
#include "devkit/uci/error.h"
#include "tests/fuzz/bytes.h"
#include "tests/fuzz/expect.h"
#include "tests/fuzz/json_grammar.h"
#include "tests/fuzz/models.h"
#include "tests/fuzz/requests.h"
#include "tests/fuzz/texts.h"
#include "tools/plan/json.h"
#include "tools/plan/sources.h"

#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int any_nesting = 64;

std::unique_ptr<plan::rehearsal> stage;

// --- Snapshots -----------------------------------------------------------------------------------

// What was read is written as JSON that reads the same.
void expect_round_trip(const plan::snapshot &device) {
    const std::string written = plan::to_json(device);
    fuzz::expect(fuzz::is_json_object(written, any_nesting, true), "a snapshot is written as JSON", written);
    try {
        const std::string again = plan::to_json(plan::from_json_text(written));
        fuzz::expect(again == written, "a snapshot reads as it was written", written);
    } catch (const plan::input_error &refusal) {
        fuzz::show("written", written);
        fuzz::expect(false, "a snapshot that was written is taken", refusal.what());
    }
}

plan::snapshot read_files(fuzz::bytes &input, const std::string &model) {
    plan::file_map files;
    while (!input.empty()) {
        const std::string path(input.line());
        std::string content;
        for (std::string_view line = input.line(); line != "%%" && !(line.empty() && input.empty());
             line = input.line())
            content.append(line).append("\n");
        if (plan::is_of_use(path))
            files[path] = content;
    }
    return plan::from_files(files, model);
}

void read_snapshot(size_t form, fuzz::bytes &input) {
    const std::string model = input.flip() ? fuzz::models[input.below(std::size(fuzz::models))] : "";
    try {
        switch (form) {
        case 0:
            return expect_round_trip(plan::from_json_text(input.rest(), model));
        case 1:
            return expect_round_trip(plan::from_export(input.rest(), model));
        case 2:
            return expect_round_trip(read_files(input, model));
        default:
            return expect_round_trip(plan::from_backup(input.rest(), model));
        }
    } catch (const plan::input_error &refusal) {
        fuzz::expect(refusal.what()[0] != '\0', "a refusal says why");
    }
}

// --- Plans ---------------------------------------------------------------------------------------

// Any options, set or gone, recorded only or committed.
void change_options(plan::snapshot &device, fuzz::bytes &input) {
    for (size_t count = input.below(5); count != 0 && !device.packages.empty(); --count) {
        uci::package &package = device.packages[input.below(device.packages.size())];
        if (package.sections.empty())
            continue;
        uci::section &section = package.sections[input.below(package.sections.size())];
        if (section.options.empty())
            continue;
        const std::string option = section.options[input.below(section.options.size())].name;
        const std::string &value = fuzz::draw_text(input);
        try {
            uci::package changed = package;
            const uci::change change{uci::action::set, section.name, option, value};
            if (value.empty() || !uci::apply(changed, change))
                section.remove(option);
            else if (input.flip())
                device.changes[package.name].push_back(change);
            else
                package = changed;
        } catch (const uci::error &) {
            continue; // no option can hold the text
        }
    }
}

plan::snapshot draw_device(fuzz::bytes &input) {
    plan::snapshot device =
        *plan::from_factory(fuzz::models[input.below(std::size(fuzz::models) - fuzz::unknown_models)]);
    const unsigned facts = input.next();
    device.repeater = (facts & 1U) != 0;
    device.internet = (facts & 2U) == 0;
    device.reboot_pending = (facts & 4U) != 0;
    device.full_read_done = (facts & 8U) != 0;
    device.companion = static_cast<plan::companion_state>((facts >> 4U) % 3);
    change_options(device, input);
    return device;
}

// A play of the same request on the same device does what the plan says.
void expect_as_planned(const plan::request_plan &made, const plan::snapshot &device, const plan::route &asked,
                       json_object *request) {
    stage->set_device(device);
    stage->play(asked.handler, request);
    const auto effects = stage->effects();
    fuzz::expect(effects.size() == made.effects.size(), "a plan has the effects that there are",
                 plan::to_json(made));
    for (size_t at = 0; at < effects.size(); ++at)
        fuzz::expect(effects[at].kind == made.effects[at].kind &&
                         (effects[at].subject ? effects[at].subject : "") == made.effects[at].subject,
                     "an effect is as it was planned", made.effects[at].subject);
}

void expect_every_key(const plan::request_plan &made, json_object *request) {
    size_t at = 0;
    json_object_object_foreach(request, key, value) {
        (void)value;
        fuzz::expect(at < made.keys.size() && made.keys[at].key == key, "a plan has every key once, in order",
                     key);
        ++at;
    }
    fuzz::expect(at == made.keys.size(), "a plan has no other keys", plan::to_json(made));
}

void make_plan(fuzz::bytes &input) {
    constexpr const char *routes[] = {"batch_set",           "set_config", "batch_set", "batch_get",
                                      "designated_customer", "get",        "set",       "unbind",
                                      "bind_info",           "get_config"};
    const plan::snapshot device = draw_device(input);
    const plan::route asked = plan::find_route(input.one_of(routes));
    const fuzz::json drawn = fuzz::draw_request(input);
    // As a plan's request comes: by its text.
    json_object *request = nullptr;
    plan::json_owner owner;
    try {
        owner = plan::parse_json(json_object_to_json_string_ext(drawn.get(), JSON_C_TO_STRING_PLAIN),
                                 plan::json_use::request);
        request = owner.get();
    } catch (const plan::input_error &) {
        return; // not UTF-8, or a NUL
    }
    const plan::request_plan made = plan::make_plan(*stage, device, asked, request);
    const std::string text = plan::to_json(made);
    fuzz::expect(fuzz::is_json_object(text, any_nesting, true), "a plan is written as JSON", text);
    expect_every_key(made, request);
    expect_as_planned(made, device, asked, request);
    fuzz::expect(plan::to_json(plan::make_plan(*stage, device, asked, request)) == text,
                 "a plan that is made again is the same", text);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    stage = std::make_unique<plan::rehearsal>(FUZZ_PLUGIN, "");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::bytes input(data, size);
    if (const size_t form = input.next() % 8; form < 4)
        read_snapshot(form, input);
    else
        make_plan(input);
    return 0;
}
