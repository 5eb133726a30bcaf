// SPDX-License-Identifier: Apache-2.0
// Remembers compiled patterns. A plan plays the plug-in a dozen times, which compiles the patterns of its
// checks anew for each value, and that took most of a plan's time. The plug-in binds to these functions
// because the program exports them; a copy of a compiled pattern shares what the C library has learned of it.
#include <map>
#include <string>

#include <dlfcn.h>
#include <regex.h>

namespace {

constexpr size_t patterns_limit = 256;

template <typename Function>
Function *library(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// Never destroyed: the plug-in may outlive it.
std::map<std::string, regex_t> &compiled() {
    static auto &patterns = *new std::map<std::string, regex_t>;
    return patterns;
}

bool is_remembered(const regex_t *pattern) {
    for (const auto &[text, known] : compiled())
        if (known.buffer == pattern->buffer)
            return true;
    return false;
}

} // namespace

extern "C" {

int regcomp(regex_t *out, const char *pattern, int flags) {
    static const auto compile = library<decltype(regcomp)>("regcomp");
    const std::string name = std::to_string(flags) + " " + pattern;
    if (const auto known = compiled().find(name); known != compiled().end()) {
        *out = known->second;
        return 0;
    }
    const int result = compile(out, pattern, flags);
    if (result == 0 && compiled().size() < patterns_limit)
        compiled().emplace(name, *out);
    return result;
}

void regfree(regex_t *pattern) {
    static const auto release = library<decltype(regfree)>("regfree");
    if (!is_remembered(pattern))
        release(pattern);
}
}
