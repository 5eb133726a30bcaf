// SPDX-License-Identifier: Apache-2.0
// The calls of the plug-in on their way through this program.
#include "bench/box/calls.h"

#include "bench/box/clock.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <map>
#include <utility>

#pragma GCC visibility push(default)
#include "platform/host.h"
#include "platform/zuutil.h"
#include "platform/zuwificore.h"

#include <regex.h>

extern "C" {
int system(const char *command);
FILE *popen(const char *command, const char *mode);
unsigned sleep(unsigned seconds);
void sync() noexcept;
}
#pragma GCC visibility pop

namespace {

using calls::kind;

std::vector<calls::call> record;
bool is_recording = false;
int depth = 0; // of calls: one within another is the platform's own
std::map<const zuci2_context *, zuci2_context *> contexts; // by the one that was recorded
calls::pattern_cost patterns;
auto compiled_how = calls::compilation::as_asked;
std::map<std::string, regex_t> kept_patterns;

class within {
public:
    within() { ++depth; }
    ~within() { --depth; }
    within(const within &) = delete;
    within &operator=(const within &) = delete;
};

// The next function of that name behind this program's own.
template <class function>
function *next(const char *name) {
    void *found = dlsym(RTLD_NEXT, name);
    if (found == nullptr) {
        std::fprintf(stderr, "no function %s\n", name);
        std::exit(EXIT_FAILURE);
    }
    return reinterpret_cast<function *>(found);
}

bool is_recorded() { return is_recording && depth == 0; }

void note(kind of, const char *text, const char *value, std::function<void()> again) {
    record.push_back({of, text == nullptr ? "" : text, value == nullptr ? "" : value, std::move(again)});
}

using text_buffer = std::array<char, 4096>;

// A function that takes a command line and gives a line of its output.
using line_runner = int(const char *, char *);

int run_for_line(line_runner *real, const char *command, char *buffer) {
    if (is_recorded())
        note(kind::command, command, nullptr, [real, line = std::string(command)] {
            text_buffer output;
            real(line.c_str(), output.data());
        });
    const within call;
    return real(command, buffer);
}

// A function that takes a command line alone.
using runner = int(const char *);

int run(runner *real, const char *command) {
    if (is_recorded())
        note(kind::command, command, nullptr, [real, line = std::string(command)] { real(line.c_str()); });
    const within call;
    return real(command);
}

// A function of a UCI context that takes a path, a package or a type alone.
using context_function = int(zuci2_context *, const char *);

int act(kind of, context_function *real, zuci2_context *context, const char *text) {
    if (is_recorded())
        note(of, text, nullptr,
             [real, context, what = std::string(text)] { real(contexts[context], what.c_str()); });
    const within call;
    return real(context, text);
}

// A function without arguments that looks something up.
template <class result>
result look_up(result (*real)()) {
    if (is_recorded())
        note(kind::read, nullptr, nullptr, [real] { real(); });
    const within call;
    return real();
}

void refuse_to_record(const char *what) {
    if (!is_recorded())
        return;
    std::fprintf(stderr, "%s cannot be made again\n", what);
    std::exit(EXIT_FAILURE);
}

} // namespace

namespace calls {

std::vector<call> recorded(const std::function<void()> &work) {
    record.clear();
    is_recording = true;
    work();
    is_recording = false;
    return std::exchange(record, {});
}

pattern_cost take_pattern_cost() { return std::exchange(patterns, {}); }

void compile_patterns(compilation how) { compiled_how = how; }

} // namespace calls

extern "C" {

zuci2_context *zuci2_init() {
    static auto *const real = next<decltype(zuci2_init)>("zuci2_init");
    const within call;
    zuci2_context *made = real();
    if (is_recording && depth == 1)
        note(kind::other, nullptr, nullptr, [made] { contexts[made] = real(); });
    return made;
}

void zuci2_free(zuci2_context *context) {
    static auto *const real = next<decltype(zuci2_free)>("zuci2_free");
    if (is_recorded())
        note(kind::other, nullptr, nullptr, [context] { real(std::exchange(contexts[context], nullptr)); });
    const within call;
    real(context);
}

int zuci2_get(zuci2_context *context, const char *path, char *buffer) {
    static auto *const real = next<decltype(zuci2_get)>("zuci2_get");
    if (is_recorded())
        note(kind::read, path, nullptr, [context, where = std::string(path)] {
            text_buffer value;
            real(contexts[context], where.c_str(), value.data());
        });
    const within call;
    return real(context, path, buffer);
}

int zuci2_set(zuci2_context *context, const char *path, const char *value) {
    static auto *const real = next<decltype(zuci2_set)>("zuci2_set");
    if (is_recorded())
        note(kind::write, path, value, [context, where = std::string(path), what = std::string(value)] {
            real(contexts[context], where.c_str(), what.c_str());
        });
    const within call;
    return real(context, path, value);
}

int zuci2_delete(zuci2_context *context, const char *path) {
    static auto *const real = next<context_function>("zuci2_delete");
    return act(kind::other, real, context, path);
}

int zuci2_commit(zuci2_context *context, const char *package) {
    static auto *const real = next<context_function>("zuci2_commit");
    return act(kind::other, real, context, package);
}

int zuci2_section_count(zuci2_context *context, const char *type) {
    static auto *const real = next<context_function>("zuci2_section_count");
    return act(kind::read, real, context, type);
}

int execCommand(const char *command) {
    static auto *const real = next<runner>("execCommand");
    return run(real, command);
}

int fork_exec2(const char *command) {
    static auto *const real = next<runner>("fork_exec2");
    return run(real, command);
}

int system(const char *command) {
    static auto *const real = next<runner>("system");
    return run(real, command);
}

int getShellCommandReturnLine(const char *command, char *buffer) {
    static auto *const real = next<line_runner>("getShellCommandReturnLine");
    return run_for_line(real, command, buffer);
}

int getUciReturn(const char *command, char *buffer) {
    static auto *const real = next<line_runner>("getUciReturn");
    return run_for_line(real, command, buffer);
}

const char *get_model_name() {
    static auto *const real = next<decltype(get_model_name)>("get_model_name");
    return look_up(real);
}

int wifi_check_repeater_is_connected() {
    static auto *const real =
        next<decltype(wifi_check_repeater_is_connected)>("wifi_check_repeater_is_connected");
    return look_up(real);
}

FILE *popen(const char *command, const char *mode) {
    static auto *const real = next<decltype(popen)>("popen");
    refuse_to_record("popen");
    return real(command, mode);
}

unsigned sleep(unsigned seconds) {
    static auto *const real = next<decltype(sleep)>("sleep");
    refuse_to_record("sleep");
    return real(seconds);
}

void sync() noexcept {}

int custom_api_dispatcher(const char * /*path*/, json_object * /*request*/, json_object * /*response*/) {
    refuse_to_record("custom_api_dispatcher");
    return -1;
}

int regcomp(regex_t *compiled, const char *pattern, int flags) {
    static auto *const real = next<decltype(regcomp)>("regcomp");
    if (const auto kept = kept_patterns.find(pattern);
        compiled_how == calls::compilation::once && kept != kept_patterns.end()) {
        *compiled = kept->second;
        return 0;
    }
    const double start = thread_seconds();
    const bool groups = compiled_how == calls::compilation::with_groups;
    const int result = real(compiled, pattern, groups ? flags & ~REG_NOSUB : flags);
    if (compiled_how == calls::compilation::once && result == 0)
        kept_patterns.emplace(pattern, *compiled);
    patterns.compiled += thread_seconds() - start;
    ++patterns.count;
    return result;
}

int regexec(const regex_t *compiled, const char *text, size_t count, regmatch_t found[], int flags) {
    static auto *const real = next<decltype(regexec)>("regexec");
    const double start = thread_seconds();
    const int result = real(compiled, text, count, found, flags);
    patterns.used += thread_seconds() - start;
    return result;
}

void regfree(regex_t *compiled) {
    static auto *const real = next<decltype(regfree)>("regfree");
    if (compiled_how == calls::compilation::once)
        return;
    const double start = thread_seconds();
    real(compiled);
    patterns.compiled += thread_seconds() - start;
}

} // extern "C"
