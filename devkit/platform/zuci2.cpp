// SPDX-License-Identifier: Apache-2.0
// UCI access: each call sees the files and deltas as they are at that moment.
#include "devkit/platform/buffer.h"
#include "devkit/platform/interface.h"
#include "devkit/uci/error.h"
#include "devkit/uci/store.h"

#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

struct zuci2_context {
    uci::store store;
};

namespace {

constexpr int failure = -1;

std::string folder(const char *variable, std::string fallback) {
    const char *text = std::getenv(variable);
    return text != nullptr && *text != '\0' ? text : std::move(fallback);
}

uci::folders folders_from_environment() {
    uci::folders result;
    result.config = folder("UCI_CONFIG_DIR", result.config);
    result.delta = folder("UCI_DELTA_DIR", result.delta);
    return result;
}

// 0 when the action ran to its end; no exception leaves the library.
template <typename Action>
int guarded(const zuci2_context *ctx, const char *text, Action action) {
    if (ctx == nullptr || text == nullptr)
        return failure;
    try {
        action();
        return 0;
    } catch (const std::exception &) {
        return failure;
    }
}

uci::path parse_plain_path(const char *text) {
    uci::path where = uci::parse_path(text);
    if (where.value)
        throw uci::parse_error();
    return where;
}

std::string joined(const std::vector<std::string> &values) {
    std::string text;
    for (const std::string &value : values)
        text += (&value == values.data() ? "" : " ") + value;
    return text;
}

std::string value_of(const uci::store &store, const uci::path &where) {
    uci::package content = store.load(where.package);
    uci::section *section = content.find(where.section);
    const uci::option *option = section == nullptr ? nullptr : section->find(where.option);
    if (option == nullptr)
        throw uci::not_found();
    return joined(option->values);
}

} // namespace

zuci2_context *zuci2_init() {
    try {
        return new zuci2_context{uci::store(folders_from_environment())};
    } catch (const std::exception &) {
        return nullptr;
    }
}

int zuci2_get(zuci2_context *ctx, const char *path, char *buffer) {
    if (buffer == nullptr)
        return failure;
    return guarded(ctx, path, [&] { copy_cut(value_of(ctx->store, parse_plain_path(path)), buffer); });
}

int zuci2_set(zuci2_context *ctx, const char *path, const char *value) {
    if (value == nullptr)
        return failure;
    return guarded(ctx, path, [&] {
        uci::path where = parse_plain_path(path);
        where.value = value;
        ctx->store.record(uci::action::set, where);
    });
}

int zuci2_delete(zuci2_context *ctx, const char *path) {
    return guarded(ctx, path, [&] { ctx->store.record(uci::action::remove, parse_plain_path(path)); });
}

int zuci2_commit(zuci2_context *ctx, const char *package) {
    return guarded(ctx, package, [&] { ctx->store.commit(package); });
}

int zuci2_section_count(zuci2_context *ctx, const char *type) {
    int count = 0;
    guarded(ctx, type, [&] {
        const std::string_view text = type;
        const size_t mark = text.find(".@");
        if (mark == std::string_view::npos)
            return;
        const uci::package content = ctx->store.load(std::string(text.substr(0, mark)));
        count = static_cast<int>(content.count(text.substr(mark + 2)));
    });
    return count;
}

void zuci2_free(zuci2_context *ctx) { delete ctx; }
