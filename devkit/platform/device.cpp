// SPDX-License-Identifier: Apache-2.0
// Device facts.
#include "devkit/platform/buffer.h"
#include "devkit/platform/device_file.h"
#include "devkit/platform/interface.h"

#include <unistd.h>

namespace {

// The fact in a buffer that the library keeps; null when there is no such file.
const char *fact(const char *name, char (&kept)[buffer_size]) {
    const std::optional<std::string> line = read_device_file(name);
    if (!line)
        return nullptr;
    copy_cut(*line, kept);
    return kept;
}

const char *or_empty(const char *text) { return text != nullptr ? text : ""; }

} // namespace

const char *get_model_name() {
    static char kept[buffer_size];
    return or_empty(fact("model_name", kept));
}

const char *get_service_code() {
    static char kept[buffer_size];
    return or_empty(fact("service_code", kept));
}

const char *get_ddns_name() {
    static char kept[buffer_size];
    return fact("ddns_name", kept);
}

int cmm_check_file_is_exist(const char *path) { return path != nullptr && access(path, F_OK) == 0 ? 1 : 0; }
