// SPDX-License-Identifier: Apache-2.0
// A push and a full read: by the plug-in, and in the other ways there are.
#include "bench/box/push.h"

#include "bench/box/calls.h"
#include "bench/box/configuration.h"
#include "bench/box/rounds.h"
#include "platform/zuutil.h"
#include "plugin/aerolink.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <json-c/json.h>
#include <memory>
#include <set>
#include <span>
#include <stdexcept>

namespace {

struct json_deleter {
    void operator()(json_object *object) const { json_object_put(object); }
};
using json = std::unique_ptr<json_object, json_deleter>;

// A name that the plug-in exports.
template <class type>
type *exported(const char *name) {
    static void *const plugin = dlopen("/usr/lib/api/aerolink.so", RTLD_NOW);
    if (plugin == nullptr)
        throw std::runtime_error(dlerror());
    void *found = dlsym(plugin, name);
    if (found == nullptr)
        throw std::runtime_error(std::string("the plug-in has no ") + name);
    return static_cast<type *>(found);
}

using handler = int(json_object *, json_object *);

void ask(const char *name, json_object *request) {
    auto *const handle = reinterpret_cast<handler *>(exported<void>(name));
    const json response(json_object_new_object());
    if (handle(request, response.get()) != 0)
        throw std::runtime_error(std::string(name) + " failed");
}

// Most settings are written only where the option holds something already.
void fill(std::span<const batch_entry> table) {
    const std::unique_ptr<zuci2_context, decltype(&zuci2_free)> context(zuci2_init(), &zuci2_free);
    std::set<std::string> packages;
    for (const batch_entry &row : table) {
        char value[4096];
        const std::string path = row.uci_path;
        if (zuci2_get(context.get(), row.uci_path, value) == 0)
            continue;
        if (zuci2_set(context.get(), row.uci_path, "held") != 0)
            throw std::runtime_error(path + " cannot be filled");
        packages.insert(path.substr(0, path.find('.')));
    }
    for (const std::string &package : packages)
        zuci2_commit(context.get(), package.c_str());
}

std::string quoted(const std::string &text) {
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

// The writes among the calls, one a line, with a commit.
void write_script(const char *path, const std::string &before, const std::vector<calls::call> &push) {
    std::ofstream script(path);
    for (const calls::call &each : push)
        if (each.of == calls::kind::write)
            script << before << "set " << quoted(each.text + "=" + each.value) << '\n';
    script << before << "commit\n";
}

void run(const char *command) {
    if (std::system(command) != 0)
        throw std::runtime_error(std::string(command) + " failed");
}

void make_again(const std::vector<calls::call> &list) {
    for (const calls::call &each : list)
        each.again();
}

size_t count(const std::vector<calls::call> &list, calls::kind of) {
    return static_cast<size_t>(std::ranges::count(list, of, &calls::call::of));
}

void print_counts(const std::string &name, const std::vector<calls::call> &list) {
    std::printf("calls %s %zu %zu %zu\n", name.c_str(), count(list, calls::kind::read),
                count(list, calls::kind::write), count(list, calls::kind::command));
}

// Both ways must leave the same behind: else they are not comparable.
void check_same(const configuration &start, const std::vector<contender> &contenders) {
    std::map<std::string, configuration> left;
    for (const contender &each : contenders) {
        put_back(start);
        each.work();
        left[each.name] = read_configuration();
    }
    for (const auto &[name, texts] : left)
        if (texts != left.begin()->second || texts == start)
            throw std::runtime_error(name + " leaves another configuration than " + left.begin()->first);
}

} // namespace

void measure_push(int rounds, const std::set<std::string> &wanted, const std::string &request_text) {
    const json request(json_tokener_parse(request_text.c_str()));
    const std::string name = std::to_string(json_object_object_length(request.get()));
    fill({exported<batch_entry>("batch_list_common"), std::extent_v<decltype(batch_list_common)>});
    fill({exported<batch_entry>("batch_list_ardea"), std::extent_v<decltype(batch_list_ardea)>});
    const configuration start = read_configuration();
    const auto push = [&] { ask("aerolink_batch_set", request.get()); };
    push();
    put_back(start);
    const std::vector<calls::call> made = calls::recorded(push);
    std::vector<calls::call> commands;
    std::ranges::copy_if(made, std::back_inserter(commands),
                         [](const calls::call &each) { return each.of == calls::kind::command; });
    print_counts(name, made);
    write_script("/tmp/script", "uci ", made);
    write_script("/tmp/batch", "", made);
    const std::vector<contender> same = {{"plugin", push},
                                         {"hand", [&] { make_again(made); }},
                                         {"script", [] { run("sh /tmp/script"); }},
                                         {"batch", [] { run("uci batch </tmp/batch"); }}};
    check_same(start, same);
    std::vector<contender> all = same;
    all.push_back({"commands", [&] { make_again(commands); }});
    std::erase_if(all, [&](const contender &each) { return !wanted.contains(each.name); });
    calls::take_pattern_cost();
    measure_in_turn(name, rounds, all, [&] { put_back(start); });
    const calls::pattern_cost patterns = calls::take_pattern_cost();
    const double pushes = rounds + 1;
    std::printf("patterns %s %.9f %.9f %.1f\n", name.c_str(), patterns.compiled / pushes,
                patterns.used / pushes, patterns.count / pushes);
    put_back(start);
}

void measure_read(int rounds) {
    const json request(json_object_new_object());
    const auto read = [&] { ask("aerolink_batch_get", request.get()); };
    fill({exported<batch_entry>("batch_list_ardea"), std::extent_v<decltype(batch_list_ardea)>});
    run("echo 0 >/tmp/reboot_flag");
    const std::vector<calls::call> made = calls::recorded(read);
    std::vector<calls::call> commands;
    std::ranges::copy_if(made, std::back_inserter(commands),
                         [](const calls::call &each) { return each.of == calls::kind::command; });
    print_counts("read", made);
    const configuration start = read_configuration();
    put_back(start);
    measure_in_turn("read", rounds,
                    {{"plugin", read},
                     {"command", [&] { make_again(commands); }},
                     {"show", [] { run("uci show >/dev/null"); }}},
                    [] {});
}

void measure_patterns(int rounds, const std::string &request_text) {
    constexpr int pushes = 20;
    const json request(json_tokener_parse(request_text.c_str()));
    auto *const check = reinterpret_cast<decltype(regex_exe) *>(exported<void>("regex_exe"));
    std::vector<std::pair<const char *, const char *>> checked;
    const auto *table = exported<batch_entry>("batch_list_ardea");
    for (const batch_entry &row : std::span(table, std::extent_v<decltype(batch_list_ardea)>))
        if (const char *value = zjson_get_string(request.get(), row.json_key);
            row.pattern != nullptr && value)
            checked.emplace_back(row.pattern, value);
    const auto check_all = [&](calls::compilation how) {
        calls::compile_patterns(how);
        for (int push = 0; push < pushes; ++push)
            for (const auto &[pattern, value] : checked)
                if (check(pattern, value) != 1)
                    throw std::runtime_error(std::string(value) + " is refused");
    };
    std::printf("checks patterns %d %zu\n", pushes, checked.size());
    measure_in_turn("patterns", rounds,
                    {{"as_asked", [&] { check_all(calls::compilation::as_asked); }},
                     {"with_groups", [&] { check_all(calls::compilation::with_groups); }},
                     {"once", [&] { check_all(calls::compilation::once); }}},
                    [] {});
    calls::compile_patterns(calls::compilation::as_asked);
}
