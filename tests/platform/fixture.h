// SPDX-License-Identifier: Apache-2.0
// A folder of its own for each test, and buffers that end where a caller's buffer may end.
#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

class platform_test : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Below the test's folder: "config" and "delta" for UCI, "device" for device facts, "bin" first on PATH.
    void write(const char *name, const std::string &text) const;
    std::string read(const char *name) const;

    // The output of the command line.
    static std::string shell(const std::string &command);

    // The file's text once it ends with a line end; fails after some seconds.
    std::string wait_for_line(const char *name) const;

    std::filesystem::path root_;

private:
    std::string path_;
};

// Exactly the 4096 bytes that a platform function may write, filled with "~".
class platform_buffer {
public:
    platform_buffer();
    platform_buffer(const platform_buffer &) = delete;
    platform_buffer &operator=(const platform_buffer &) = delete;
    ~platform_buffer();

    operator char *() { return data_; }
    bool untouched() const;

private:
    char *data_;
};
