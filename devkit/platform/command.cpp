// SPDX-License-Identifier: Apache-2.0
// Command runners.
#include "devkit/platform/buffer.h"
#include "devkit/platform/interface.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int failure = -1;

// As the shell counts: 128 and the signal's number for a command that a signal ended.
int exit_status(int wait_status) {
    if (WIFEXITED(wait_status))
        return WEXITSTATUS(wait_status);
    return WIFSIGNALED(wait_status) ? 128 + WTERMSIG(wait_status) : failure;
}

// Reads to the end, so that the command is not stopped by a closed pipe. False when there was nothing at all.
bool read_first_line(FILE *output, std::string &line) {
    bool any = false;
    bool in_first_line = true;
    for (int c = 0; (c = std::getc(output)) != EOF;) {
        any = true;
        in_first_line = in_first_line && c != '\n';
        if (in_first_line && line.size() < buffer_size)
            line += static_cast<char>(c);
    }
    return any;
}

int first_line_of(const char *command, char *buffer) {
    if (command == nullptr || buffer == nullptr)
        return failure;
    FILE *output = popen(command, "re");
    if (output == nullptr)
        return failure;
    std::string line;
    const bool any = read_first_line(output, line);
    pclose(output);
    if (!any)
        return failure;
    copy_cut(line, buffer);
    return 0;
}

// Signals as a program expects them at its start, whatever the daemon does with its own.
void reset_signals() {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD})
        std::signal(number, SIG_DFL);
}

// Becomes the shell. Of the daemon's open files only standard output and error go along.
[[noreturn]] void become_shell(const char *command) {
    reset_signals();
    const int null = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (null >= 0)
        dup2(null, STDIN_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    execl("/bin/sh", "sh", "-c", command, static_cast<char *>(nullptr));
    _exit(127);
}

} // namespace

int execCommand(const char *command) {
    return command == nullptr ? failure : exit_status(std::system(command));
}

int getShellCommandReturnLine(const char *command, char *buffer) { return first_line_of(command, buffer); }

int getUciReturn(const char *command, char *buffer) { return first_line_of(command, buffer); }

int fork_exec2(const char *command) {
    if (command == nullptr)
        return failure;
    std::array<int, 2> started{};
    if (pipe2(started.data(), O_CLOEXEC) != 0)
        return failure;
    const pid_t middle = fork();
    if (middle == 0) {
        setsid();
        const pid_t detached = fork();
        if (detached == 0)
            become_shell(command);
        _exit(detached < 0 ? 1 : 0);
    }
    close(started[1]);
    int status = 0;
    if (middle > 0)
        while (waitpid(middle, &status, 0) < 0 && errno == EINTR) {
        }
    // The end of the pipe comes when the shell runs, and not before: so calls start in order.
    char none = 0;
    while (read(started[0], &none, 1) < 0 && errno == EINTR) {
    }
    close(started[0]);
    return middle > 0 && exit_status(status) == 0 ? 0 : failure;
}
