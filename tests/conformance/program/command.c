// SPDX-License-Identifier: Apache-2.0
// Command runners. All that they run is harmless.
#include "platform/zuutil.h"
#include "tests/conformance/program/contract.h"

#include <stdio.h>
#include <string.h>

#include <errno.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#define COUNT(array) (sizeof(array) / sizeof *(array))

static void pause_for(long milliseconds) {
    const struct timespec time = {milliseconds / 1000, milliseconds % 1000 * 1000 * 1000};
    nanosleep(&time, NULL);
}

// --- Commands that are waited for ----------------------------------------------------------------

static void check_exec_status(void) {
    expect_int("true", execCommand("true"), 0);
    expect_int("exit 7", execCommand("exit 7"), 7);
    expect_int("a pipe", execCommand("echo a | grep -q b"), 1);
}

static void check_exec_waits(void) {
    execCommand("sleep 1; : >waited");
    if (access("waited", F_OK) != 0)
        fail("it is back before the command has ended");
}

// dash, for one, takes "&>" for "in the background" and then says 0.
static void check_shell(void) { expect_int("false &> /dev/null", execCommand("false &> /dev/null"), 1); }

typedef int (*line_runner)(const char *command, char *buffer);

static void expect_line(line_runner run, const char *command, const char *expected) {
    struct platform_buffer buffer;
    clear_buffer(&buffer);
    run(command, buffer.text);
    expect_buffer(command, &buffer, expected);
}

static void expect_first_lines(line_runner run) {
    expect_line(run, "echo one; echo two", "one");
    expect_line(run, "printf 'no line end'", "no line end");
    expect_line(run, "echo; echo two", "");
    expect_line(run, "echo ' a  b '", " a  b ");
    expect_line(run, "sleep 1; echo late | cat", "late");
}

static void expect_no_line(line_runner run) {
    struct platform_buffer buffer;
    clear_buffer(&buffer);
    run("true", buffer.text);
    expect_untouched("true", &buffer);
}

static void expect_cut_line(line_runner run) {
    char expected[PLATFORM_BUFFER_SIZE];
    memset(expected, 'x', sizeof expected - 1);
    expected[sizeof expected - 1] = '\0';
    expect_line(run, "head -c 4095 /dev/zero | tr '\\0' x; echo; echo two", expected);
    expect_line(run, "head -c 4096 /dev/zero | tr '\\0' x; echo; echo two", expected);
    expect_line(run, "head -c 20000 /dev/zero | tr '\\0' x", expected);
}

static void check_shell_line(void) { expect_first_lines(getShellCommandReturnLine); }
static void check_shell_no_line(void) { expect_no_line(getShellCommandReturnLine); }
static void check_shell_cut_line(void) { expect_cut_line(getShellCommandReturnLine); }
static void check_uci_line(void) { expect_first_lines(getUciReturn); }
static void check_uci_no_line(void) { expect_no_line(getUciReturn); }
static void check_uci_cut_line(void) { expect_cut_line(getUciReturn); }

// --- Detached commands ---------------------------------------------------------------------------

static bool exists(const char *path) { return access(path, F_OK) == 0; }

static void check_fork_returns_at_once(void) {
    expect_success("the call", fork_exec2("sleep 2; : >late"));
    if (exists("late"))
        fail("it waits for the command");
    pause_for(2000);
    if (!wait_until(exists, "late"))
        fail("the command does not run to its end");
}

static bool has_five_lines(const char *path) {
    char text[64];
    read_file(path, text, sizeof text);
    return strlen(text) >= 10;
}

// The pauses are for the shell, which takes its time from its start to its first command. The commands go on
// for so long that a library which would not start the next one before the last one has ended is not done in
// time.
static void check_fork_order(void) {
    char text[64];
    for (int number = 1; number <= 5; ++number) {
        snprintf(text, sizeof text, "echo %d >>order; sleep 3", number);
        expect_success("a call", fork_exec2(text));
        pause_for(200);
    }
    wait_until(has_five_lines, "order");
    read_file("order", text, sizeof text);
    expect_text("the order of five calls", text, "1\n2\n3\n4\n5\n");
}

// A daemon's service is stopped by a signal to all of it.
static void check_fork_detached(void) {
    const pid_t daemon = fork();
    if (daemon == 0) {
        setpgid(0, 0);
        fork_exec2(": >started; sleep 1; : >survived");
        wait_until(exists, "started");
        kill(0, SIGTERM);
        _exit(0);
    }
    waitpid(daemon, NULL, 0);
    if (!exists("started"))
        fail("the command does not start");
    if (!wait_until(exists, "survived"))
        fail("the command ends with the process that started it");
}

// Whether there is no child left, be it running or a zombie.
static bool is_childless(const char *unused) {
    (void)unused;
    siginfo_t child = {0};
    return waitid(P_ALL, 0, &child, WEXITED | WNOHANG | WNOWAIT) < 0 && errno == ECHILD;
}

static void check_fork_leaves_no_zombie(void) {
    for (int call = 0; call < 5; ++call)
        expect_success("a call", fork_exec2("true"));
    if (!wait_until(is_childless, NULL))
        fail("the caller is left with a child that it has to wait for");
}

// clang-format off
static const struct contract contracts[] = {
    {"execCommand",               "gives the command's exit status",                         check_exec_status},
    {"execCommand",               "waits for the command",                                   check_exec_waits},
    {"execCommand",               "runs a shell in which \"&>\" redirects all output",       check_shell},
    {"getShellCommandReturnLine", "gives the first line of the output without its end",      check_shell_line},
    {"getShellCommandReturnLine", "leaves the buffer untouched when there is no output",     check_shell_no_line},
    {"getShellCommandReturnLine", "cuts the line to 4096 bytes with its NUL",                check_shell_cut_line},
    {"getUciReturn",              "gives the first line of the output without its end",      check_uci_line},
    {"getUciReturn",              "leaves the buffer untouched when there is no output",     check_uci_no_line},
    {"getUciReturn",              "cuts the line to 4096 bytes with its NUL",                check_uci_cut_line},
    {"fork_exec2",                "returns at once",                                         check_fork_returns_at_once},
    {"fork_exec2",                "starts commands in the order of the calls",               check_fork_order},
    {"fork_exec2",                "detaches the command from the process that started it",   check_fork_detached},
    {"fork_exec2",                "leaves no zombie",                                        check_fork_leaves_no_zombie},
};
// clang-format on

const struct contract_list command_contracts = {contracts, COUNT(contracts)};
