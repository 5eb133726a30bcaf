// SPDX-License-Identifier: Apache-2.0
// What the engine and the sanitizers do beside the stage, which this program exports in place of parts of the
// C library. The calls of this program come here by --wrap.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <dlfcn.h>

namespace {

// A function of the C library itself, past the sanitizer that stands before it.
template <typename Function>
Function *of_library(const char *name) {
    void *symbol = dlsym(RTLD_NEXT, name);
    Function *function = nullptr;
    std::memcpy(&function, &symbol, sizeof function);
    return function;
}

} // namespace

// NOLINTBEGIN(clang-diagnostic-reserved-identifier)

// The engine has a thread that sleeps between looks at the memory in use; it is not to sleep in the world.
extern "C" unsigned __wrap_sleep(unsigned seconds) {
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    return 0;
}

// It starts itself again to merge inputs.
extern "C" int __wrap_system(const char *command) {
    static auto *const run = of_library<decltype(system)>("system");
    return run(command);
}

// The sanitizer keeps a list of such streams, which it never sees closed: the stage has the C library close
// them.
extern "C" FILE *__wrap_open_memstream(char **content, size_t *length) {
    static auto *const open = of_library<decltype(open_memstream)>("open_memstream");
    return open(content, length);
}

extern "C" FILE *__wrap_fmemopen(void *buffer, size_t size, const char *mode) {
    static auto *const open = of_library<decltype(fmemopen)>("fmemopen");
    return open(buffer, size, mode);
}

// NOLINTEND(clang-diagnostic-reserved-identifier)
