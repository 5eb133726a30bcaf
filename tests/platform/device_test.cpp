// SPDX-License-Identifier: Apache-2.0
// Device facts, the repeater and the driver's private settings.
#include "platform/zuutil.h"
#include "platform/zuwificore.h"
#include "tests/platform/fixture.h"

#include <filesystem>

#include <sys/stat.h>

namespace {

class device : public platform_test {
protected:
    void write_iwpriv(const char *last_command) const {
        write("bin/iwpriv",
              "#!/bin/sh\nprintf '[%s]' \"$@\" >" + root_.string() + "/asked\n" + last_command + "\n");
        chmod((root_ / "bin/iwpriv").c_str(), 0755);
    }
};

TEST_F(device, facts_are_read_anew) {
    EXPECT_STREQ(get_model_name(), "");
    EXPECT_STREQ(get_service_code(), "");
    EXPECT_EQ(get_ddns_name(), nullptr);
    write("device/model_name", "heron\n");
    write("device/service_code", "code 1");
    write("device/ddns_name", "one\ntwo\n");
    const char *model = get_model_name();
    const char *code = get_service_code();
    EXPECT_STREQ(get_ddns_name(), "one");
    EXPECT_STREQ(model, "heron");
    EXPECT_STREQ(code, "code 1");
    write("device/model_name", "wren");
    write("device/ddns_name", "");
    EXPECT_STREQ(get_model_name(), "wren");
    EXPECT_STREQ(get_ddns_name(), "");
    std::filesystem::remove(root_ / "device/ddns_name");
    EXPECT_EQ(get_ddns_name(), nullptr);
}

TEST_F(device, facts_are_cut_to_4096_bytes) {
    write("device/model_name", std::string(5000, 'm'));
    EXPECT_EQ(get_model_name(), std::string(4095, 'm'));
}

TEST_F(device, repeater) {
    EXPECT_EQ(wifi_check_repeater_is_connected(), 0);
    const struct {
        const char *text;
        int connected;
    } rows[] = {{"1", 1}, {"1\n", 1}, {"0", 0}, {"", 0}, {"10", 0}, {"\n1", 0}};
    for (const auto &row : rows) {
        write("device/repeater", row.text);
        EXPECT_EQ(wifi_check_repeater_is_connected(), row.connected) << row.text;
    }
}

TEST_F(device, file_exists) {
    EXPECT_EQ(cmm_check_file_is_exist(root_.c_str()), 1);
    EXPECT_EQ(cmm_check_file_is_exist((root_ / "none").c_str()), 0);
    EXPECT_EQ(cmm_check_file_is_exist(""), 0);
    EXPECT_EQ(cmm_check_file_is_exist(nullptr), 0);
}

TEST_F(device, private_setting) {
    write_iwpriv("exit 0");
    EXPECT_EQ(mt76x8_private_iwpriv_set("ra0", "SSID", "two words; $(touch x) 'q'"), 0);
    EXPECT_EQ(read("asked"), "[ra0][set][SSID=two words; $(touch x) 'q']");
    EXPECT_EQ(mt76x8_private_iwpriv_set("ra1", "WPAPSK", ""), 0);
    EXPECT_EQ(read("asked"), "[ra1][set][WPAPSK=]");
    write_iwpriv("exit 3");
    EXPECT_EQ(mt76x8_private_iwpriv_set("ra0", "SSID", "x"), 3);
    write_iwpriv("kill -9 $$");
    EXPECT_NE(mt76x8_private_iwpriv_set("ra0", "SSID", "x"), 0);
}

TEST_F(device, private_setting_refused) {
    write_iwpriv("exit 0");
    EXPECT_NE(mt76x8_private_iwpriv_set("", "SSID", "x"), 0);
    EXPECT_NE(mt76x8_private_iwpriv_set(nullptr, "SSID", "x"), 0);
    EXPECT_NE(mt76x8_private_iwpriv_set("ra0", nullptr, "x"), 0);
    EXPECT_NE(mt76x8_private_iwpriv_set("ra0", "SSID", nullptr), 0);
    EXPECT_FALSE(std::filesystem::exists(root_ / "asked"));
    std::filesystem::remove(root_ / "bin/iwpriv");
    setenv("PATH", (root_ / "bin").c_str(), 1);
    EXPECT_NE(mt76x8_private_iwpriv_set("ra0", "SSID", "x"), 0);
}

} // namespace
