// SPDX-License-Identifier: Apache-2.0
// UCI as the plug-in uses it. Every function takes a context that could not be opened (null): reads through
// it give "", writes do nothing.
#pragma once

#include "platform/zuutil.h"

#include <span>

// A context for the length of a scope.
struct uci_scope {
    zuci2_context *ctx = zuci2_init();

    uci_scope() = default;
    uci_scope(const uci_scope &) = delete;
    uci_scope &operator=(const uci_scope &) = delete;
    ~uci_scope() {
        if (ctx)
            zuci2_free(ctx);
    }
};

// Reads an option, "" when it is unset; a longer value is cut to the size of out.
void read_option(zuci2_context *ctx, const char *path, std::span<char> out);

// Sets an option, or the type of a section; a null value leaves it as it is.
void set_option(zuci2_context *ctx, const char *path, const char *value);

void delete_option(zuci2_context *ctx, const char *path);
void commit_package(zuci2_context *ctx, const char *package);
int count_sections(zuci2_context *ctx, const char *type);

// Makes everything recorded so far durable: commits all packages and flushes the file systems.
void commit_all();
