// SPDX-License-Identifier: Apache-2.0
// The daemon's signals.
#include "devkit/apid/signals.h"

#include "devkit/apid/startup_error.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <sys/eventfd.h>
#include <unistd.h>

namespace apid {

namespace {

volatile std::sig_atomic_t stopping = 0;
int wakeup = -1;

void request_stop(int) {
    const int saved = errno;
    const uint64_t one = 1;
    stopping = 1;
    // Full only after 2^64 - 2 signals: there is nothing to do about a failure.
    [[maybe_unused]] const ssize_t written = write(wakeup, &one, sizeof one);
    errno = saved;
}

void do_nothing(int) {}

void install(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

} // namespace

void install_signals() {
    wakeup = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeup < 0)
        throw startup_error(exit_failed, std::string("eventfd: ") + std::strerror(errno));
    install(SIGTERM, request_stop);
    install(SIGINT, request_stop);
    install(SIGPIPE, do_nothing);
}

bool stop_requested() { return stopping != 0; }

int wakeup_descriptor() { return wakeup; }

void clear_wakeup() {
    uint64_t count = 0;
    // Fails when there is nothing to clear.
    [[maybe_unused]] const ssize_t size = read(wakeup, &count, sizeof count);
}

} // namespace apid
