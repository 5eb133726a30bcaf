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

// The package as it is now; valid until the next call. What was read is kept by each thread for itself, so
// that neither threads nor a child of this process wait for anybody; and beyond the context that it was read
// with, most of which live for a few milliseconds.
uci::package &package_of(const uci::store &store, const std::string &name) {
    thread_local std::vector<uci::kept_package> kept; // used last first
    std::erase_if(kept, [](const uci::kept_package &each) { return !each.config; });
    auto found = std::ranges::find(kept, name, [](const auto &each) { return each.content.name; });
    if (found == kept.end()) {
        if (kept.size() == most_kept)
            kept.pop_back();
        found = kept.emplace(kept.end());
    }
    std::rotate(kept.begin(), found, found + 1);
    store.refresh(name, kept.front());
    return kept.front().content;
}

std::string value_of(const uci::store &store, const uci::path &where) {
    uci::section *section = package_of(store, where.package).find(where.section);
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
        const uci::package &content = package_of(ctx->store, std::string(text.substr(0, mark)));
        count = static_cast<int>(content.count(text.substr(mark + 2)));
    });
    return count;
}

void zuci2_free(zuci2_context *ctx) { delete ctx; }
