// SPDX-License-Identifier: Apache-2.0
// What was read is kept, and what is no longer so is never given.
#include "platform/zuutil.h"
#include "tests/platform/fixture.h"

#include <atomic>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using context = std::unique_ptr<zuci2_context, decltype(&zuci2_free)>;

// What the process has read so far, in bytes, by its own account.
long bytes_read() {
    std::ifstream account("/proc/self/io");
    std::string word;
    long count = -1;
    account >> word >> count;
    return count;
}

class kept : public platform_test {
protected:
    void SetUp() override {
        platform_test::SetUp();
        write("config/net", text_of("a"));
    }

    // Long enough that reading it shows.
    static std::string text_of(const std::string &value, int sections = 100) {
        std::string text = "config interface lan\n\toption n '" + value + "'\n";
        for (int i = 0; i < sections; ++i)
            text += "config rule\n\toption target ACCEPT\n";
        return text;
    }

    static context open() { return {zuci2_init(), &zuci2_free}; }

    static std::string get(const context &ctx, const char *path = "net.lan.n") {
        platform_buffer buffer;
        return zuci2_get(ctx.get(), path, buffer) == 0 ? static_cast<char *>(buffer) : "(missing)";
    }

    std::string uci(const std::string &words) const {
        return shell(UCI " -c " + path("config") + " -t " + path("delta") + " " + words + " 2>&1");
    }

    std::string path(const char *name) const { return (root_ / name).string(); }

    // In place: the file stays the same one.
    void overwrite(const char *name, const std::string &text) const {
        const int file = ::open(path(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        EXPECT_EQ(::write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
        close(file);
    }

    // A context that keeps the package, whose files have not been touched for a while.
    context settled() const {
        usleep(100'000);
        context ctx = open();
        EXPECT_EQ(get(ctx), "a");
        return ctx;
    }

    void put_times_back(const char *name, const struct stat &before) const {
        const timespec times[] = {before.st_atim, before.st_mtim};
        EXPECT_EQ(utimensat(AT_FDCWD, path(name).c_str(), times, 0), 0);
    }

    struct stat status(const char *name) const {
        struct stat found {};
        EXPECT_EQ(stat(path(name).c_str(), &found), 0);
        return found;
    }
};

TEST_F(kept, a_package_is_read_once) {
    const context ctx = settled();
    const long own = -(bytes_read() - bytes_read());
    const long before = bytes_read();
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(get(ctx), "a");
    EXPECT_EQ(get(open()), "a");
    EXPECT_EQ(zuci2_section_count(ctx.get(), "net.@rule"), 100);
    EXPECT_LT(bytes_read() - before - own, 1000);
    overwrite("config/net", text_of("b"));
    EXPECT_EQ(get(ctx), "b");
    EXPECT_GT(bytes_read() - before, 3'000) << "reading does not show in the account";
}

TEST_F(kept, another_process_records_commits_and_reverts) {
    const context ctx = settled();
    EXPECT_EQ(uci("set net.lan.n=b"), "");
    EXPECT_EQ(get(ctx), "b");
    EXPECT_EQ(uci("revert net"), "");
    EXPECT_EQ(get(ctx), "a");
    EXPECT_EQ(uci("set net.lan.n=c && " UCI " -c " + path("config") + " -t " + path("delta") + " commit net"),
              "");
    EXPECT_EQ(get(ctx), "c");
    usleep(100'000);
    EXPECT_EQ(get(ctx), "c");
    EXPECT_EQ(uci("set net.lan.n=d"), "");
    EXPECT_EQ(get(ctx), "d");
    EXPECT_EQ(uci("commit"), "");
    EXPECT_EQ(get(ctx), "d");
}

TEST_F(kept, another_context_of_this_process_records) {
    const context ctx = settled();
    const context writer = open();
    ASSERT_EQ(zuci2_set(writer.get(), "net.lan.n", "b"), 0);
    EXPECT_EQ(get(ctx), "b");
    ASSERT_EQ(zuci2_delete(writer.get(), "net.lan.n"), 0);
    EXPECT_EQ(get(ctx), "(missing)");
    ASSERT_EQ(zuci2_commit(writer.get(), "net"), 0);
    EXPECT_EQ(get(ctx), "(missing)");
    EXPECT_EQ(zuci2_section_count(ctx.get(), "net.@rule"), 100);
    ASSERT_EQ(zuci2_delete(writer.get(), "net.@rule[0]"), 0);
    EXPECT_EQ(zuci2_section_count(ctx.get(), "net.@rule"), 99);
}

// What is kept is told by its files, not by the context that read it.
TEST_F(kept, contexts_of_other_folders) {
    const context ctx = settled();
    std::filesystem::create_directory(root_ / "other");
    write("other/net", text_of("b"));
    write("foreign", "net.lan.n='c'\n");
    setenv("UCI_CONFIG_DIR", path("other").c_str(), 1);
    const context other = open();
    std::filesystem::create_directory(root_ / "deltas");
    std::filesystem::rename(root_ / "foreign", root_ / "deltas/net");
    setenv("UCI_DELTA_DIR", path("deltas").c_str(), 1);
    const context changed = open();
    usleep(100'000);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(get(ctx), "a");
        EXPECT_EQ(get(other), "b");
        EXPECT_EQ(get(changed), "c");
    }
}

TEST_F(kept, threads_side_by_side) {
    settled();
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&wrong] {
            const context ctx = open();
            for (int i = 0; i < 200; ++i)
                wrong += get(ctx) == "(missing)";
        });
    const context writer = open();
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(zuci2_set(writer.get(), "net.lan.n", std::to_string(i).c_str()), 0);
    for (std::thread &each : threads)
        each.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(kept, a_rewrite_of_the_same_size) {
    const context ctx = settled();
    const struct stat before = status("config/net");
    overwrite("config/net", text_of("b"));
    put_times_back("config/net", before);
    EXPECT_EQ(status("config/net").st_ino, before.st_ino);
    EXPECT_EQ(status("config/net").st_size, before.st_size);
    EXPECT_EQ(get(ctx), "b");
}

TEST_F(kept, a_rename_over_the_file) {
    const context ctx = settled();
    const struct stat before = status("config/net");
    write("config/.new", text_of("b"));
    put_times_back("config/.new", before);
    std::filesystem::rename(root_ / "config/.new", root_ / "config/net");
    EXPECT_EQ(get(ctx), "b");
}

TEST_F(kept, the_file_goes_and_comes) {
    const context ctx = settled();
    std::filesystem::rename(root_ / "config/net", root_ / "away");
    EXPECT_EQ(get(ctx), "(missing)");
    EXPECT_EQ(zuci2_section_count(ctx.get(), "net.@rule"), 0);
    std::filesystem::rename(root_ / "away", root_ / "config/net");
    EXPECT_EQ(get(ctx), "a");
    write("config/net", "nonsense\n");
    EXPECT_EQ(get(ctx), "(missing)");
    write("config/net", text_of("b"));
    EXPECT_EQ(get(ctx), "b");
}

TEST_F(kept, the_delta_alone_changes) {
    std::filesystem::create_directory(root_ / "delta");
    const context ctx = settled();
    overwrite("delta/net", "net.lan.n='b'\n");
    EXPECT_EQ(get(ctx), "b");
    usleep(100'000);
    EXPECT_EQ(get(ctx), "b");
    const struct stat before = status("delta/net");
    overwrite("delta/net", "net.lan.n='c'\n");
    put_times_back("delta/net", before);
    EXPECT_EQ(get(ctx), "c");
    overwrite("delta/net", "");
    EXPECT_EQ(get(ctx), "a");
    std::filesystem::remove(root_ / "delta/net");
    EXPECT_EQ(get(ctx), "a");
}

// Writes and reads in turn, faster than any clock of a file ticks: times and size stay as they were.
TEST_F(kept, changes_within_a_tick_of_the_clock) {
    const context ctx = open();
    std::filesystem::create_directory(root_ / "delta");
    int unseen = 0;
    for (int i = 0; i < 100; ++i) {
        const std::string value = std::to_string(100 + i % 2);
        const struct stat before = status("config/net");
        overwrite("config/net", text_of(value, 0));
        const struct stat after = status("config/net");
        unseen += before.st_size == after.st_size && before.st_ctim.tv_sec == after.st_ctim.tv_sec &&
                  before.st_ctim.tv_nsec == after.st_ctim.tv_nsec;
        ASSERT_EQ(get(ctx), value) << i;
        overwrite("delta/net", "net.lan.n='" + std::to_string(200 + i % 2) + "'\n");
        ASSERT_EQ(get(ctx), std::to_string(200 + i % 2)) << i;
        overwrite("delta/net", "");
    }
    RecordProperty("rewrites_that_left_no_mark", unseen);
}

// What a writer has been told is done is what a reader sees, however the two fall together.
TEST_F(kept, a_writer_side_by_side) {
    constexpr int last = 150;
    auto *told = static_cast<std::atomic<int> *>(
        mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(static_cast<void *>(told), MAP_FAILED);
    write("config/net", text_of("0", 5));
    const context ctx = open(); // inherited by the writer too, as a handler's is by a command
    ASSERT_EQ(get(ctx), "0");
    const pid_t writer = fork();
    if (writer == 0) {
        for (int i = 1; i <= last; ++i) {
            bool fine = zuci2_set(ctx.get(), "net.lan.n", std::to_string(i).c_str()) == 0;
            fine =
                fine && get(ctx) == std::to_string(i) && (i % 3 != 0 || zuci2_commit(ctx.get(), "net") == 0);
            if (!fine)
                _exit(1);
            told->store(i);
            if (i % 50 == 0)
                usleep(120'000); // time enough to settle
        }
        _exit(0);
    }
    int seen = 0;
    while (seen < last && waitpid(writer, nullptr, WNOHANG) == 0) {
        const int least = told->load();
        const std::string text = get(ctx);
        ASSERT_TRUE(!text.empty() && text.find_first_not_of("0123456789") == std::string::npos) << text;
        ASSERT_GE(std::stoi(text), std::max(least, seen));
        seen = std::stoi(text);
    }
    waitpid(writer, nullptr, 0);
    EXPECT_EQ(told->load(), last);
    EXPECT_EQ(get(ctx), std::to_string(last));
    munmap(told, sizeof *told);
}

TEST_F(kept, a_child_and_its_parent_go_separate_ways) {
    const context ctx = settled();
    const pid_t child = fork();
    if (child == 0) {
        const bool fine = get(ctx) == "a" && zuci2_set(ctx.get(), "net.lan.n", "b") == 0 && get(ctx) == "b";
        _exit(fine ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(get(ctx), "b");
}

// Under the sanitizers and valgrind the heap is not the C library's, and its account stays at nothing.
TEST_F(kept, memory_is_bounded) {
    constexpr int few = 20;
    constexpr int many = 80;
    for (int i = 0; i < many; ++i)
        write(("config/p" + std::to_string(i)).c_str(), text_of(std::to_string(i)));
    const context ctx = settled();
    const size_t none = mallinfo2().uordblks;
    size_t after_few = 0;
    for (int i = 0; i < many; ++i) {
        EXPECT_EQ(get(ctx, ("p" + std::to_string(i) + ".lan.n").c_str()), std::to_string(i));
        if (i + 1 == few)
            after_few = mallinfo2().uordblks;
    }
    EXPECT_LE(mallinfo2().uordblks, after_few + (after_few - none) / 4);
}

TEST_F(kept, a_large_package_is_read_but_not_kept) {
    const context ctx = settled();
    const size_t before = mallinfo2().uordblks;
    write("config/big", text_of("b") + "config large\n\toption text '" + std::string(2 << 20, 'x') + "'\n");
    usleep(100'000);
    EXPECT_EQ(get(ctx, "big.lan.n"), "b");
    EXPECT_EQ(get(ctx), "a");
    EXPECT_LE(mallinfo2().uordblks, before + 100'000);
}

} // namespace
