// SPDX-License-Identifier: Apache-2.0
// Preloaded into the daemon: poll fails with the error of the environment variable POLL_ERROR each second
// time, and is the system's otherwise.
#include <errno.h>
#include <poll.h>
#include <stdlib.h>

int poll(struct pollfd *watched, nfds_t count, int milliseconds) {
    static int calls;
    if (++calls % 2 == 0) {
        errno = atoi(getenv("POLL_ERROR"));
        return -1;
    }
    const struct timespec wait = {.tv_sec = milliseconds / 1000, .tv_nsec = milliseconds % 1000 * 1000000L};
    return ppoll(watched, count, milliseconds < 0 ? NULL : &wait, NULL);
}
