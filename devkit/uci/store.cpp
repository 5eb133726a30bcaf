// SPDX-License-Identifier: Apache-2.0
// Configuration files and their deltas on the disk: one step each.
#include "devkit/uci/store.h"

#include "devkit/uci/error.h"
#include "devkit/uci/text.h"
#include "devkit/uci/transaction.h"

namespace uci {

namespace {

// Runs one step on a package that has a name.
template <typename Step>
auto alone(const folders &where, file::access access, const std::string &package, Step step) {
    if (!is_package_name(package))
        throw parse_error();
    transaction work(where, access);
    if constexpr (std::is_void_v<decltype(step(work))>) {
        step(work);
        work.end();
    } else {
        auto result = step(work);
        work.end();
        return result;
    }
}

// A file larger than any device's is read anew each time, so that little memory is taken.
bool is_worth_keeping(const std::optional<file_stamp> &of) {
    constexpr off_t largest = 256 << 10;
    return !of || (of->size <= largest && of->is_settled());
}

} // namespace

package store::load(const std::string &name) const {
    return alone(folders_, file::access::shared, name,
                 [&](transaction &work) { return std::move(work.read(name)); });
}

void store::refresh(const std::string &name, kept_package &kept) const {
    // The stamps are taken before the files are read: who writes without this lock, or from another
    // configuration folder into the same delta, makes them older than what is kept, never newer.
    const file lock = lock_folder(folders_.config, file::access::shared);
    const std::optional<file_stamp> config = stamp_of(file_of(folders_, name));
    const std::optional<file_stamp> delta = stamp_of(folders_.delta + "/" + name);
    if (config && kept.content.name == name && kept.config == config && kept.delta == delta)
        return;
    kept = {};
    const bool is_keepable = folders_.search.empty() && is_worth_keeping(config) && is_worth_keeping(delta);
    kept.content = load(name);
    kept.config = is_keepable ? config : std::nullopt;
    kept.delta = delta;
}

std::vector<change> store::recorded(const std::string &name) const {
    return alone(folders_, file::access::shared, name,
                 [&](transaction &work) { return work.recorded(name); });
}

void store::record(action kind, const path &where) const {
    alone(folders_, file::access::exclusive, where.package,
          [&](transaction &work) { work.record(kind, where); });
}

std::string store::add(const std::string &name, const std::string &type) const {
    return alone(folders_, file::access::exclusive, name,
                 [&](transaction &work) { return work.add(name, type); });
}

void store::revert(const path &where) const {
    alone(folders_, file::access::exclusive, where.package, [&](transaction &work) { work.revert(where); });
}

void store::commit(const std::string &name) const {
    alone(folders_, file::access::exclusive, name, [&](transaction &work) { work.commit(name); });
}

void store::replace(const package &with) const {
    alone(folders_, file::access::exclusive, with.name,
          [&](transaction &work) { work.replace(with.name, with); });
}

} // namespace uci
