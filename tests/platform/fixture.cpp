// SPDX-License-Identifier: Apache-2.0
// A folder of its own for each test.
#include "tests/platform/fixture.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <unistd.h>

namespace fs = std::filesystem;

void platform_test::SetUp() {
    std::string name = fs::temp_directory_path() / "platform-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    root_ = name;
    for (const char *folder : {"config", "device", "bin"})
        fs::create_directory(root_ / folder);
    path_ = std::getenv("PATH");
    setenv("PATH", ((root_ / "bin").string() + ":" + path_).c_str(), 1);
    setenv("UCI_CONFIG_DIR", (root_ / "config").c_str(), 1);
    setenv("UCI_DELTA_DIR", (root_ / "delta").c_str(), 1);
    setenv("ZUUTIL_DEVICE_DIR", (root_ / "device").c_str(), 1);
}

void platform_test::TearDown() {
    setenv("PATH", path_.c_str(), 1);
    fs::remove_all(root_);
}

void platform_test::write(const char *name, const std::string &text) const {
    std::ofstream(root_ / name) << text;
}

std::string platform_test::read(const char *name) const {
    std::ifstream source(root_ / name);
    return {std::istreambuf_iterator<char>(source), std::istreambuf_iterator<char>()};
}

std::string platform_test::shell(const std::string &command) {
    FILE *output = popen(command.c_str(), "re");
    std::string text;
    for (int c = 0; (c = std::getc(output)) != EOF;)
        text += static_cast<char>(c);
    pclose(output);
    return text;
}

std::string platform_test::wait_for_line(const char *name) const {
    for (int turn = 0; turn < 1000; ++turn) {
        if (std::string text = read(name); text.ends_with('\n'))
            return text;
        usleep(10000);
    }
    ADD_FAILURE() << name << " did not come";
    return "";
}

platform_buffer::platform_buffer() : data_(static_cast<char *>(std::malloc(4096))) {
    for (int i = 0; i < 4096; ++i)
        data_[i] = '~';
}

platform_buffer::~platform_buffer() { std::free(data_); }

bool platform_buffer::untouched() const {
    for (int i = 0; i < 4096; ++i)
        if (data_[i] != '~')
            return false;
    return true;
}
