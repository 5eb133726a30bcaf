// SPDX-License-Identifier: Apache-2.0
// UCI access: each call sees the files and deltas as they are at that moment. A context is for one thread at
// a time, as everything of the platform is.
#include "devkit/platform/buffer.h"
#include "devkit/platform/interface.h"
#include "devkit/uci/error.h"
#include "devkit/uci/store.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <vector>

struct zuci2_context {
    uci::store store;
    std::vector<uci::kept_package> kept = {}; // read last first
};

namespace {

constexpr int failure = -1;

constexpr size_t most_kept = 16; // more packages than any handler reads

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

// The package as it is now; valid until the context is used again.
uci::package &package_of(zuci2_context &ctx, const std::string &name) {
    std::erase_if(ctx.kept, [](const uci::kept_package &each) { return !each.config; });
    auto found = std::ranges::find(ctx.kept, name, [](const auto &each) { return each.content.name; });
    if (found == ctx.kept.end()) {
        if (ctx.kept.size() == most_kept)
            ctx.kept.pop_back();
        found = ctx.kept.emplace(ctx.kept.end());
    }
    std::rotate(ctx.kept.begin(), found, found + 1);
    uci::kept_package &kept = ctx.kept.front();
    ctx.store.refresh(name, kept);
    return kept.content;
}

std::string value_of(zuci2_context &ctx, const uci::path &where) {
    uci::section *section = package_of(ctx, where.package).find(where.section);
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
    return guarded(ctx, path, [&] { copy_cut(value_of(*ctx, parse_plain_path(path)), buffer); });
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
        const uci::package &content = package_of(*ctx, std::string(text.substr(0, mark)));
        count = static_cast<int>(content.count(text.substr(mark + 2)));
    });
    return count;
}

void zuci2_free(zuci2_context *ctx) { delete ctx; }
