// SPDX-License-Identifier: Apache-2.0
// What the program is made of: contracts of the platform interface, each with its check and its line of
// output.
#pragma once

#include <stdbool.h>
#include <stddef.h>

// A check runs in a process of its own, in the work folder, with a time limit. It returns when the promise is
// kept; otherwise it ends with one of the functions below.
struct contract {
    const char *function; // of the platform
    const char *promise;  // in the words of the output
    void (*check)(void);
};

struct contract_list {
    const struct contract *contracts;
    size_t count;
};

extern const struct contract_list uci_contracts;
extern const struct contract_list json_contracts;
extern const struct contract_list command_contracts;
extern const struct contract_list device_contracts;
extern const struct contract_list text_contracts;

// What the user allows and knows; null where not given.
struct options {
    const char *interface; // the driver may be told to use `ssid` on this interface
    const char *ssid;
    const char *repeater; // "up" or "down": the state of the repeater uplink
};
extern struct options options;

// The promise is kept, and this may interest the reader.
_Noreturn void pass(const char *format, ...) __attribute__((format(printf, 1, 2)));

// The promise is broken in this way.
_Noreturn void fail(const char *format, ...) __attribute__((format(printf, 1, 2)));

// The promise cannot be checked, for this reason.
_Noreturn void skip(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Fails unless result is 0, or non-zero; `what` names the call.
void expect_success(const char *what, int result);
void expect_error(const char *what, int result);

// Fails unless the texts are equal; null differs from every text.
void expect_text(const char *what, const char *actual, const char *expected);
void expect_int(const char *what, long actual, long expected);

// The 4096 bytes that a platform function may write, with a guard behind them.
enum { PLATFORM_BUFFER_SIZE = 4096, GUARD_SIZE = 256 };
struct platform_buffer {
    char text[PLATFORM_BUFFER_SIZE];
    char guard[GUARD_SIZE];
};

// Makes every byte '~'.
void clear_buffer(struct platform_buffer *buffer);

// Fail when the guard was written to; when the buffer holds another text; when any byte was written.
void expect_guarded(const char *what, const struct platform_buffer *buffer);
void expect_buffer(const char *what, const struct platform_buffer *buffer, const char *expected);
void expect_untouched(const char *what, const struct platform_buffer *buffer);

// Waits for at most five seconds until the condition holds for the argument; whether it does.
bool wait_until(bool (*condition)(const char *argument), const char *argument);

// Writes, or reads at most size - 1 bytes of, a file; a missing file reads as "".
void write_file(const char *path, const char *text);
void read_file(const char *path, char *text, size_t size);

// The package file that the UCI checks work on is theirs alone. Removes it, with its uncommitted changes; may
// be called from a signal handler.
void remove_uci_package(void);
