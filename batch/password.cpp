// SPDX-License-Identifier: Apache-2.0
// The administrator password: the digest in UCI and the system account.
#include "platform/zuutil.h"
#include "plugin/aerolink.h"
#include "plugin/text.h"
#include "plugin/uci.h"

#include <crypt.h>
#include <unistd.h>

namespace {

constexpr size_t password_minimum = 5; // characters
constexpr size_t salt_length = 8;
constexpr size_t command_size = 512;
constexpr size_t digest_size = 65; // 64 hexadecimal digits and the NUL

// The digest that is stored: SHA-256 over the MD5-crypt hash without its "$1$salt$", salted with the device's
// own service code.
bool make_digest(const char *password, char (&digest)[digest_size]) {
    char salt[salt_length + 1];
    copy_cut(salt, get_service_code());
    char setting[32];
    if (!format(setting, "$1$%s$", salt))
        return false;
    const char *hash = crypt(password, setting);
    if (!hash || hash[0] == '*' || strlen(hash) < strlen(setting))
        return false;
    sha256(hash + strlen(setting), digest);
    return true;
}

bool make_passwd_command(const char *password, char (&command)[command_size]) {
    char escaped[command_size] = "";
    const size_t length = strlen(password);
    if (2 * length + 1 > sizeof escaped)
        return false;
    increase_escape_function(password, escaped, static_cast<int>(length));
    return format(command, "(echo %s; sleep 1; echo %s)| passwd root >/dev/null 2>&1", escaped, escaped);
}

} // namespace

int batch_set_pwd(const char *password) {
    char digest[digest_size] = "";
    char command[command_size];
    if (strlen(password) < password_minimum || !make_digest(password, digest) ||
        !make_passwd_command(password, command))
        return AEROLINK_BAD_VALUE;
    {
        const uci_scope uci;
        set_option(uci.ctx, "zuconfig.general.password", digest);
        commit_package(uci.ctx, "zuconfig");
    }
    execCommand(command);
    sync();
    return AEROLINK_OK;
}
