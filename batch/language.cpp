// SPDX-License-Identifier: Apache-2.0
// The interface language: the maker's configuration holds the code, the web interface knows two languages.
#include "platform/zuutil.h"
#include "plugin/aerolink.h"
#include "plugin/log.h"
#include "plugin/text.h"
#include "plugin/uci.h"

#include <cstring>

namespace {

constexpr size_t code_size = 8;

} // namespace

int batch_set_language(const char *code) {
    char text[code_size];
    if (!format(text, "%s", code)) {
        log_too_long("language");
        return AEROLINK_OK;
    }
    const uci_scope uci;
    str_to_upper(text);
    set_option(uci.ctx, "zuconfig.general.language", text);
    commit_package(uci.ctx, "zuconfig");
    str_to_lower(text);
    set_option(uci.ctx, "luci.main.lang", strstr(text, "cn") ? "zh_cn" : "en");
    commit_package(uci.ctx, "luci");
    return AEROLINK_OK;
}
