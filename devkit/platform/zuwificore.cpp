// SPDX-License-Identifier: Apache-2.0
// The Wi-Fi library.
#include "devkit/platform/device_file.h"
#include "devkit/platform/interface.h"

#include <cerrno>
#include <string>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

int wifi_check_repeater_is_connected() { return read_device_file("repeater") == "1" ? 1 : 0; }

// Runs "iwpriv INTERFACE set PARAMETER=VALUE" without a shell; its exit status.
int mt76x8_private_iwpriv_set(const char *interface_name, const char *parameter, const char *value) {
    if (interface_name == nullptr || *interface_name == '\0' || parameter == nullptr || value == nullptr)
        return -1;
    std::string program = "iwpriv";
    std::string interface = interface_name;
    std::string verb = "set";
    std::string setting = std::string(parameter) + "=" + value;
    char *const words[] = {program.data(), interface.data(), verb.data(), setting.data(), nullptr};
    pid_t child = 0;
    if (posix_spawnp(&child, program.c_str(), nullptr, nullptr, words, environ) != 0)
        return -1;
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
