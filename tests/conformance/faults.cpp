// SPDX-License-Identifier: Apache-2.0
// Faulty platform libraries: preloaded before the kit's own ones, this makes one function break its contract
// in the way that the environment variable FAULT names.
#include "platform/zuutil.h"
#include "platform/zuwificore.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <json-c/json.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

bool fault(const char *name) {
    const char *asked = std::getenv("FAULT");
    return asked != nullptr && std::strcmp(asked, name) == 0;
}

template <typename Function>
Function *next(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

bool contains(const char *text, const char *part) { return std::strstr(text, part) != nullptr; }

// "package.section"
bool is_section(const std::string &path) { return path.find('.') == path.rfind('.'); }

void fill(char *buffer, size_t length) {
    std::memset(buffer, 'x', length);
    buffer[length] = '\0';
}

void replace_at_end(json_object *object, const char *key, json_object *value) {
    json_object_object_del(object, key);
    json_object_object_add(object, key, value);
}

using line_runner = int(const char *command, char *buffer);

int run_for_line(line_runner *run, const char *command, char *buffer) {
    const int result = run(command, buffer);
    if (fault("line keeps its end") && result == 0 && std::strlen(buffer) < 4095)
        std::strcat(buffer, "\n");
    if (fault("line clears the buffer") && result != 0)
        *buffer = '\0';
    if (fault("line is not cut") && std::strlen(buffer) == 4095)
        fill(buffer, 4200);
    return result;
}

void run_shell(const std::string &command) {
    execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char *>(nullptr));
    _exit(127);
}

int fork_attached(const char *command) {
    const pid_t middle = fork();
    if (middle == 0) {
        if (fork() == 0)
            run_shell(command);
        _exit(0);
    }
    waitpid(middle, nullptr, 0);
    return 0;
}

int fork_without_wait(const char *command) {
    if (fork() == 0) {
        setsid();
        run_shell(command);
    }
    return 0;
}

} // namespace

// Looks up the function that this one hides.
#define NEXT(function) next<decltype(function)>(#function)

// --- UCI -----------------------------------------------------------------------------------------

zuci2_context *zuci2_init() { return fault("init gives null") ? nullptr : NEXT(zuci2_init)(); }

int zuci2_get(zuci2_context *ctx, const char *path, char *buffer) {
    if (fault("get knows no selectors") && contains(path, "@"))
        return -1;
    if (fault("get crashes without context") && ctx == nullptr)
        std::raise(SIGSEGV);
    if (fault("get gives nothing without context") && ctx == nullptr)
        return *buffer = '\0', -1;
    const int result = NEXT(zuci2_get)(ctx, path, buffer);
    if (fault("get clears the buffer") && result != 0)
        *buffer = '\0';
    if (fault("get always succeeds"))
        return 0;
    if (fault("get joins by a comma") && result == 0 && contains(path, "several"))
        *std::strchr(buffer, ' ') = ',';
    if (fault("get does not cut") && result == 0 && std::strlen(buffer) == 4095)
        fill(buffer, 4200);
    if (fault("get cuts too much") && result == 0)
        buffer[1023] = '\0';
    return result;
}

int zuci2_set(zuci2_context *ctx, const char *path, const char *value) {
    if (fault("set stops at a quote"))
        return NEXT(zuci2_set)(ctx, path, std::string(value, std::strcspn(value, "'")).c_str());
    if (fault("set creates no section") && is_section(path))
        return 0;
    const int result = NEXT(zuci2_set)(ctx, path, value);
    if (fault("set always succeeds"))
        return 0;
    return result;
}

int zuci2_delete(zuci2_context *ctx, const char *path) {
    if (fault("delete does nothing"))
        return 0;
    const int result = NEXT(zuci2_delete)(ctx, path);
    return fault("delete always succeeds") ? 0 : result;
}

int zuci2_commit(zuci2_context *ctx, const char *package) {
    return fault("commit does nothing") ? 0 : NEXT(zuci2_commit)(ctx, package);
}

int zuci2_section_count(zuci2_context *ctx, const char *type) {
    const int count = NEXT(zuci2_section_count)(ctx, type);
    if (fault("count is of sections with a name"))
        return count > 0 ? 1 : 0;
    return fault("count of nothing is an error") && contains(type, "_none.") ? -1 : count;
}

void zuci2_free(zuci2_context *ctx) {
    NEXT(zuci2_free)(ctx);
    if (fault("free forgets changes"))
        unlink("/tmp/.uci/aerolink_conformance");
}

// --- JSON ----------------------------------------------------------------------------------------

const char *zjson_get_string(json_object *object, const char *key) {
    static char kept[100];
    const char *text = NEXT(zjson_get_string)(object, key);
    if (fault("string is kept in one place") && text != nullptr)
        return std::strcpy(kept, text);
    if (fault("string is never null") && text == nullptr)
        return "";
    if (fault("string is of strings alone") &&
        !json_object_is_type(json_object_object_get(object, key), json_type_string))
        return nullptr;
    return text;
}

int zjson_get_boolean(json_object *object, const char *key) {
    const int value = NEXT(zjson_get_boolean)(object, key);
    return fault("boolean is -1") ? -value : value;
}

int zjson_contain_key(json_object *object, const char *key) {
    if (fault("null is no member"))
        return json_object_object_get(object, key) != nullptr ? 1 : 0;
    return NEXT(zjson_contain_key)(object, key);
}

void zjson_add_string(json_object *object, const char *key, const char *value) {
    if (fault("string goes to the end"))
        return replace_at_end(object, key, json_object_new_string(value));
    NEXT(zjson_add_string)(object, key, value);
}

void zjson_add_int(json_object *object, const char *key, int value) {
    if (fault("number becomes a string"))
        return NEXT(zjson_add_string)(object, key, std::to_string(value).c_str());
    NEXT(zjson_add_int)(object, key, value);
}

void zjson_add_boolean(json_object *object, const char *key, int value) {
    if (fault("boolean becomes a number"))
        return NEXT(zjson_add_int)(object, key, value);
    NEXT(zjson_add_boolean)(object, key, value);
}

void zjson_add_object(json_object *object, const char *key, json_object *value) {
    NEXT(zjson_add_object)
    (object, key, fault("object gets a reference more") ? json_object_get(value) : value);
}

void zjson_array_add_string(json_object *array, const char *value) {
    if (fault("array keeps its length"))
        json_object_array_put_idx(array, 0, json_object_new_string(value));
    else
        NEXT(zjson_array_add_string)(array, value);
}

// --- Commands ------------------------------------------------------------------------------------

int execCommand(const char *command) {
    if (fault("exec does not wait"))
        return NEXT(execCommand)(("(" + std::string(command) + ") &").c_str());
    if (fault("exec runs another shell") && contains(command, "&>"))
        return 0;
    const int status = NEXT(execCommand)(command);
    return fault("exec gives the wait status") ? W_EXITCODE(status, 0) : status;
}

int getShellCommandReturnLine(const char *command, char *buffer) {
    return run_for_line(NEXT(getShellCommandReturnLine), command, buffer);
}

int getUciReturn(const char *command, char *buffer) {
    return run_for_line(NEXT(getUciReturn), command, buffer);
}

int fork_exec2(const char *command) {
    static int calls = 0;
    if (fault("fork waits"))
        return NEXT(execCommand)(command);
    if (fault("fork starts the last one first")) {
        const int half_seconds = 4 - calls++;
        const std::string delay = std::to_string(half_seconds / 2) + (half_seconds % 2 == 0 ? "" : ".5");
        return NEXT(fork_exec2)(("sleep " + delay + ";" + command).c_str());
    }
    if (fault("fork starts one after the other") && contains(command, "order"))
        return NEXT(fork_exec2)(
            ("until mkdir lock; do sleep 0.1; done;" + std::string(command) + "; rmdir lock").c_str());
    if (fault("fork stays in the group"))
        return fork_attached(command);
    if (fault("fork leaves a zombie"))
        return fork_without_wait(command);
    if (fault("fork does nothing"))
        return 0;
    return NEXT(fork_exec2)(command);
}

// --- Device --------------------------------------------------------------------------------------

const char *get_model_name() { return fault("model is null") ? nullptr : NEXT(get_model_name)(); }

const char *get_service_code() { return fault("code is null") ? nullptr : NEXT(get_service_code)(); }

const char *get_ddns_name() {
    if (fault("name crashes"))
        std::abort();
    return NEXT(get_ddns_name)();
}

int cmm_check_file_is_exist(const char *path) {
    const int found = NEXT(cmm_check_file_is_exist)(path);
    return fault("file is 0 when it exists") ? found - 1 : found;
}

int wifi_check_repeater_is_connected() {
    return fault("repeater is up") ? 1 : NEXT(wifi_check_repeater_is_connected)();
}

int mt76x8_private_iwpriv_set(const char *interface_name, const char *parameter, const char *value) {
    return fault("driver refuses") ? 1 : NEXT(mt76x8_private_iwpriv_set)(interface_name, parameter, value);
}

// --- Text ----------------------------------------------------------------------------------------

int sha256(const char *text, char *output) {
    const int result = NEXT(sha256)(text, output);
    if (fault("digest is upper-case"))
        NEXT(str_to_upper)(output);
    if (fault("digest is longer"))
        output[65] = '\0';
    return result;
}

int increase_escape_function(const char *source, char *destination, int length) {
    if (fault("escape ends at the text's end"))
        length = static_cast<int>(std::strlen(source));
    if (fault("escape escapes nothing")) {
        std::memcpy(destination, source, static_cast<size_t>(length));
        destination[length] = '\0';
        return 0;
    }
    const int result = NEXT(increase_escape_function)(source, destination, length);
    if (fault("escape writes on"))
        destination[2 * length + 1] = '\0';
    return result;
}

void str_to_upper(char *text) {
    NEXT(str_to_upper)(text);
    if (fault("case is of Latin 1"))
        for (; *text != '\0'; ++text)
            *text = *text == '\xe4' ? '\xc4' : *text;
}

void str_to_lower(char *text) {
    NEXT(str_to_lower)(text);
    if (fault("case is of Latin 1"))
        for (; *text != '\0'; ++text)
            *text = *text == '\xc4' ? '\xe4' : *text;
}
