// SPDX-License-Identifier: Apache-2.0
// The calls of plug-ins to the platform and to the C library, on their way through the daemon: each is
// recorded and then made. Linked into the daemon of the router in a box only; its names come before those of
// all libraries.
//
// The kinds are those of a rehearsed effect. What a call itself causes inside the platform is not recorded
// again.
#include "devkit/apid/trace.h"

#include <cstdio>

#pragma GCC visibility push(default)
#include "platform/zuutil.h"
#include "platform/zuwificore.h"

extern "C" {
int system(const char *command);
FILE *popen(const char *command, const char *mode);
unsigned sleep(unsigned seconds);
void sync() noexcept;
}
#pragma GCC visibility pop

#include <dlfcn.h>
#include <initializer_list>
#include <string>
#include <utility>

namespace {

using apid::trace::add;
using apid::trace::is_kept;

int depth = 0; // of recorded calls: one within another is the platform's own

class within {
public:
    within() { ++depth; }
    ~within() { --depth; }
    within(const within &) = delete;
    within &operator=(const within &) = delete;
};

bool is_recorded() { return is_kept() && depth == 0; }

// The function of that name in a library that is loaded already; null names the libraries after the daemon.
template <class function>
function *real(const char *library, const char *name) {
    void *handle = library == nullptr ? RTLD_NEXT : dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    return handle == nullptr ? nullptr : reinterpret_cast<function *>(dlsym(handle, name));
}

constexpr const char *utility = "libzuutil.so";
constexpr const char *wifi = "libzuwificore.so";

// Null for null.
json_object *text(const char *value) { return value == nullptr ? nullptr : json_object_new_string(value); }

// What the option holds, null when it holds nothing.
const char *value_of(zuci2_context *context, const char *path, char (&buffer)[4096]) {
    const within call;
    return real<decltype(zuci2_get)>(utility, "zuci2_get")(context, path, buffer) == 0 ? buffer : nullptr;
}

void record_change(const char *kind, zuci2_context *context, const char *path, const char *value) {
    char before[4096];
    add(kind,
        {{"path", text(path)}, {"from", text(value_of(context, path, before))}, {"value", text(value)}});
}

void record_command(const char *kind, const char *command) {
    if (is_recorded())
        add(kind, {{"command", text(command)}});
}

} // namespace

extern "C" {

int zuci2_set(zuci2_context *context, const char *path, const char *value) {
    if (is_recorded())
        record_change("set", context, path, value);
    const within call;
    return real<decltype(zuci2_set)>(utility, "zuci2_set")(context, path, value);
}

int zuci2_delete(zuci2_context *context, const char *path) {
    if (is_recorded())
        record_change("delete", context, path, nullptr);
    const within call;
    return real<decltype(zuci2_delete)>(utility, "zuci2_delete")(context, path);
}

int zuci2_commit(zuci2_context *context, const char *package) {
    if (is_recorded())
        add("commit", {{"path", text(package)}});
    const within call;
    return real<decltype(zuci2_commit)>(utility, "zuci2_commit")(context, package);
}

int execCommand(const char *command) {
    record_command("exec", command);
    const within call;
    return real<decltype(execCommand)>(utility, "execCommand")(command);
}

int getShellCommandReturnLine(const char *command, char *buffer) {
    record_command("line", command);
    const within call;
    return real<decltype(getShellCommandReturnLine)>(utility, "getShellCommandReturnLine")(command, buffer);
}

int getUciReturn(const char *command, char *buffer) {
    record_command("ucireturn", command);
    const within call;
    return real<decltype(getUciReturn)>(utility, "getUciReturn")(command, buffer);
}

int fork_exec2(const char *command) {
    record_command("fork", command);
    const within call;
    return real<decltype(fork_exec2)>(utility, "fork_exec2")(command);
}

int mt76x8_private_iwpriv_set(const char *interface_name, const char *parameter, const char *value) {
    if (is_recorded())
        add("iwpriv",
            {{"path", text(interface_name)}, {"parameter", text(parameter)}, {"value", text(value)}});
    const within call;
    return real<decltype(mt76x8_private_iwpriv_set)>(wifi, "mt76x8_private_iwpriv_set")(interface_name,
                                                                                        parameter, value);
}

int system(const char *command) {
    record_command("system", command);
    return real<decltype(system)>(nullptr, "system")(command);
}

FILE *popen(const char *command, const char *mode) {
    record_command("popen", command);
    return real<decltype(popen)>(nullptr, "popen")(command, mode);
}

void sync() noexcept {
    if (is_recorded())
        add("sync", {});
    real<decltype(sync)>(nullptr, "sync")();
}

unsigned sleep(unsigned seconds) {
    if (is_recorded())
        add("sleep", {{"seconds", text(std::to_string(seconds).c_str())}});
    return real<decltype(sleep)>(nullptr, "sleep")(seconds);
}

} // extern "C"
