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
int stop_event = -1;

void request_stop(int) {
    const int saved = errno;
    const uint64_t one = 1;
    stopping = 1;
    // Full only after 2^64 - 2 signals: there is nothing to do about a failure.
    [[maybe_unused]] const ssize_t written = write(stop_event, &one, sizeof one);
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
    stop_event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (stop_event < 0)
        throw startup_error(exit_failed, std::string("eventfd: ") + std::strerror(errno));
    install(SIGTERM, request_stop);
    install(SIGINT, request_stop);
    install(SIGPIPE, do_nothing);
}

bool stop_requested() { return stopping != 0; }

int stop_descriptor() { return stop_event; }

} // namespace apid
