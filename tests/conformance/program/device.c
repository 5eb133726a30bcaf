// SPDX-License-Identifier: Apache-2.0
// Device facts and the Wi-Fi library. The driver is set only on the interface that the user names.
#include "platform/zuutil.h"
#include "platform/zuwificore.h"
#include "tests/conformance/program/contract.h"

#include <string.h>

#define COUNT(array) (sizeof(array) / sizeof *(array))

static void expect_fact(const char *fact) {
    if (fact == NULL)
        fail("it is null");
    pass("\"%s\"", fact);
}

static void check_model_name(void) { expect_fact(get_model_name()); }
static void check_service_code(void) { expect_fact(get_service_code()); }

static void check_ddns_name(void) {
    const char *name = get_ddns_name();
    pass(name != NULL ? "\"%s\"" : "null", name);
}

static void check_file_exists(void) {
    write_file("exists", "");
    expect_int("a file", cmm_check_file_is_exist("exists"), 1);
    expect_int("a folder", cmm_check_file_is_exist("/etc"), 1);
    expect_int("a missing file", cmm_check_file_is_exist("none"), 0);
}

static void check_repeater(void) {
    const char *state = wifi_check_repeater_is_connected() != 0 ? "up" : "down";
    if (options.repeater == NULL)
        skip("it says %s; tell with --repeater what is so", state);
    expect_text("the call", state, options.repeater);
}

static void check_driver(void) {
    if (options.interface == NULL)
        skip("it changes the driver; name an interface and its network with --interface");
    expect_success("\"SSID\"", mt76x8_private_iwpriv_set(options.interface, "SSID", options.ssid));
}

// clang-format off
static const struct contract contracts[] = {
    {"get_model_name",                   "names the model",                                   check_model_name},
    {"get_service_code",                 "gives the service code",                            check_service_code},
    {"get_ddns_name",                    "gives the dynamic-DNS name or null",                check_ddns_name},
    {"cmm_check_file_is_exist",          "gives 1 for what exists, else 0",                   check_file_exists},
    {"wifi_check_repeater_is_connected", "is non-zero while the repeater uplink is up",       check_repeater},
    {"mt76x8_private_iwpriv_set",        "gives 0 for a parameter that the driver took",      check_driver},
};
// clang-format on

const struct contract_list device_contracts = {contracts, COUNT(contracts)};
