// SPDX-License-Identifier: Apache-2.0
// Command runners.
#include "platform/zuutil.h"
#include "tests/platform/fixture.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class command : public platform_test {
protected:
    std::string path(const char *name) const { return (root_ / name).string(); }

    // Starts the command line with its output in the file "out"; that output once `done` is its last line.
    std::string detached(const std::string &line) const {
        EXPECT_EQ(fork_exec2(("{ " + line + "; echo done; } >" + path("part") + " 2>&1; mv " + path("part") +
                              " " + path("out"))
                                 .c_str()),
                  0);
        std::string text = wait_for_line("out");
        std::filesystem::remove(root_ / "out");
        EXPECT_TRUE(text.ends_with("done\n")) << text;
        return text.substr(0, text.size() - std::string("done\n").size());
    }
};

TEST_F(command, exit_status) {
    EXPECT_EQ(execCommand("true"), 0);
    EXPECT_EQ(execCommand("exit 7"), 7);
    EXPECT_EQ(execCommand("no-such-program 2>/dev/null"), 127);
    EXPECT_EQ(execCommand("kill -9 $$"), 128 + 9);
    EXPECT_EQ(execCommand(("sleep 0.1; echo done >" + path("mark")).c_str()), 0);
    EXPECT_EQ(read("mark"), "done\n");
    EXPECT_NE(execCommand(nullptr), 0);
}

using runner = int (*)(const char *, char *);
constexpr std::array<runner, 2> runners{getShellCommandReturnLine, getUciReturn};

TEST_F(command, first_line) {
    const struct {
        const char *line;
        const char *text;
    } rows[] = {
        {"echo one; echo two", "one"},   {"printf one", "one"},
        {"printf '\\ntwo\\n'", ""},      {"printf ' a  b \\r\\n'", " a  b \r"},
        {"printf '\\377\\n'", "\xff"},   {"echo one; exit 3", "one"},
        {"echo \"it's\" | cat", "it's"}, {"sleep 0.1; echo late", "late"},
    };
    for (const runner run : runners) {
        for (const auto &row : rows) {
            platform_buffer buffer;
            EXPECT_EQ(run(row.line, buffer), 0) << row.line;
            EXPECT_STREQ(buffer, row.text) << row.line;
        }
    }
}

TEST_F(command, no_output_leaves_the_buffer) {
    for (const runner run : runners) {
        platform_buffer buffer;
        EXPECT_NE(run("true", buffer), 0);
        EXPECT_NE(run("no-such-program 2>/dev/null", buffer), 0);
        EXPECT_NE(run(nullptr, buffer), 0);
        EXPECT_NE(run("echo one", nullptr), 0);
        EXPECT_TRUE(buffer.untouched());
    }
}

TEST_F(command, first_line_is_cut_to_4096_bytes) {
    for (const runner run : runners) {
        for (const int length : {4094, 4095, 4096, 200000}) {
            platform_buffer buffer;
            const std::string line =
                "head -c " + std::to_string(length) + " /dev/zero | tr '\\0' x; echo; echo y";
            EXPECT_EQ(run(line.c_str(), buffer), 0);
            EXPECT_EQ(std::string(buffer), std::string(static_cast<size_t>(std::min(length, 4095)), 'x'))
                << length;
        }
    }
}

// The command comes to its own end: no closed pipe stops it after its first line.
TEST_F(command, the_rest_of_the_output_is_taken) {
    platform_buffer buffer;
    EXPECT_EQ(getShellCommandReturnLine(("seq 100000; echo done >" + path("mark")).c_str(), buffer), 0);
    EXPECT_STREQ(buffer, "1");
    EXPECT_EQ(read("mark"), "done\n");
}

TEST_F(command, detached_returns_at_once) {
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(fork_exec2(("sleep 1; echo late >" + path("mark")).c_str()), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
    EXPECT_EQ(read("mark"), "");
    EXPECT_EQ(wait_for_line("mark"), "late\n");
}

TEST_F(command, detached_is_on_its_own) {
    // Fields 4 and 6 of the process status: parent and session.
    const std::string ids = detached("read -r pid name state parent group session rest </proc/self/stat; "
                                     "echo $parent $session");
    const std::string own = std::to_string(getpid());
    const std::string own_session = std::to_string(getsid(0));
    EXPECT_NE(ids.substr(0, ids.find(' ')), own);
    EXPECT_NE(ids.substr(ids.find(' ') + 1), own_session + "\n");
}

TEST_F(command, detached_leaves_no_zombie) {
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(fork_exec2("true"), 0);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(command, detached_inherits_no_files) {
    std::array<int, 2> leak{};
    ASSERT_EQ(pipe(leak.data()), 0);
    ASSERT_EQ(dup2(leak[0], 200), 200);
    // From a second shell: the first one has files of its own open for the braces.
    EXPECT_EQ(detached("sh -c 'ls /proc/$$/fd; readlink /proc/$$/fd/0'"), "0\n1\n2\n/dev/null\n");
    for (const int descriptor : {leak[0], leak[1], 200})
        close(descriptor);
}

TEST_F(command, detached_inherits_no_signal_state) {
    sigset_t blocked;
    sigset_t before;
    sigfillset(&blocked);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    const auto handler = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(detached("grep -E 'SigBlk|SigIgn' /proc/self/status | tr -d '\\t'"),
              "SigBlk:0000000000000000\nSigIgn:0000000000000000\n");
    std::signal(SIGPIPE, handler);
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

// A call comes back only when its shell runs: whatever is started next starts later.
TEST_F(command, detached_calls_start_in_order) {
    for (int i = 0; i < 20; ++i) {
        const std::string mark = "started-" + root_.filename().string() + "-" + std::to_string(i);
        ASSERT_EQ(fork_exec2(("sleep 0.3; : " + mark).c_str()), 0);
        // The brackets keep grep's own command line out. The shell can have forked by then.
        const std::string pattern = "[s]" + mark.substr(1);
        EXPECT_NE(shell("grep -l -s -a -e '" + pattern + "' /proc/[0-9]*/cmdline"), "") << i;
    }
}

TEST_F(command, detached_where_children_are_not_waited_for) {
    const auto handler = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(detached("echo fine"), "fine\n");
    std::signal(SIGCHLD, handler);
}

TEST_F(command, detached_null) { EXPECT_NE(fork_exec2(nullptr), 0); }

} // namespace
