// SPDX-License-Identifier: Apache-2.0
// Stamps of files, and when one can be trusted.
#include "devkit/uci/stamp.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace {

using uci::file_stamp;

constexpr long long second = 1'000'000'000;

// Of a file that was last changed so many nanoseconds after 1970.
file_stamp changed_at(long long time) {
    return {.device = 1, .inode = 1, .size = 1, .modified = 0, .changed = time};
}

long long now() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return time.tv_sec * second + time.tv_nsec;
}

TEST(stamp, settles_when_the_step_of_its_clock_is_over) {
    const long long whole = now() / second * second;
    const struct {
        const char *what;
        long long changed;
        bool settled;
    } rows[] = {
        {"this moment", now() | 1, false},
        {"10 ms ago", (now() - 10'000'000) | 1, false},
        {"100 ms ago", (now() - 100'000'000) | 1, true},
        {"in the future", (now() + 10 * second) | 1, false},
        {"a whole second, not over", whole, false},
        {"a whole second, two ago", whole - 2 * second, false},
        {"a whole second, ten ago", whole - 10 * second, true},
    };
    for (const auto &row : rows)
        EXPECT_EQ(changed_at(row.changed).is_settled(), row.settled) << row.what;
}

TEST(stamp, tells_files_apart) {
    std::string folder = std::filesystem::temp_directory_path() / "stamp-XXXXXX";
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string path = folder + "/file";
    EXPECT_EQ(uci::stamp_of(path), std::nullopt);
    std::ofstream(path) << "one";
    const auto first = uci::stamp_of(path);
    ASSERT_TRUE(first);
    EXPECT_EQ(first->size, 3);
    EXPECT_EQ(uci::stamp_of(path), first);
    std::ofstream(path, std::ios::app) << "more";
    EXPECT_NE(uci::stamp_of(path), first);
    std::filesystem::copy_file(path, path + "2");
    EXPECT_NE(uci::stamp_of(path + "2")->inode, first->inode);
    std::filesystem::remove_all(folder);
    EXPECT_EQ(uci::stamp_of(path), std::nullopt);
}

TEST(stamp, changes_in_any_of_its_parts) {
    const file_stamp one{.device = 1, .inode = 2, .size = 3, .modified = 4, .changed = 5};
    for (const file_stamp &other :
         {file_stamp{9, 2, 3, 4, 5}, file_stamp{1, 9, 3, 4, 5}, file_stamp{1, 2, 9, 4, 5},
          file_stamp{1, 2, 3, 9, 5}, file_stamp{1, 2, 3, 4, 9}})
        EXPECT_FALSE(one == other);
}

} // namespace
