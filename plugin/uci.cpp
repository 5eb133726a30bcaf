// SPDX-License-Identifier: Apache-2.0
// UCI as the plug-in uses it.
#include "plugin/uci.h"

#include "plugin/command.h"
#include "plugin/text.h"

#include <unistd.h>

void read_option(zuci2_context *ctx, const char *path, std::span<char> out) {
    char scratch[platform_text_size] = "";
    if (ctx && zuci2_get(ctx, path, scratch) != 0)
        scratch[0] = '\0';
    copy_cut(out, scratch);
}

void set_option(zuci2_context *ctx, const char *path, const char *value) {
    if (ctx && value)
        zuci2_set(ctx, path, value);
}

void delete_option(zuci2_context *ctx, const char *path) {
    if (ctx)
        zuci2_delete(ctx, path);
}

void commit_package(zuci2_context *ctx, const char *package) {
    if (ctx)
        zuci2_commit(ctx, package);
}

int count_sections(zuci2_context *ctx, const char *type) { return ctx ? zuci2_section_count(ctx, type) : 0; }

void commit_all() {
    run("uci commit");
    sync();
}
