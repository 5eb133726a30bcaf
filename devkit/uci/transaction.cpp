// SPDX-License-Identifier: Apache-2.0
// Several steps on packages under one lock, whose changes are written together.
#include "devkit/uci/transaction.h"

#include "devkit/uci/error.h"
#include "devkit/uci/text.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <utility>

#include <sys/stat.h>

namespace uci {

namespace {

void make_folder(const std::string &path) {
    if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST)
        throw io_error(errno);
}

void expect_there(const std::string &path) {
    struct stat ignored {};
    if (stat(path.c_str(), &ignored) == 0)
        return;
    if (errno == ENOENT)
        throw not_found();
    throw io_error(errno);
}

bool concerns(const change &recorded, const change &wanted) {
    return (wanted.section.empty() || recorded.section == wanted.section) &&
           (wanted.option.empty() || recorded.option == wanted.option);
}

} // namespace

transaction::transaction(folders where, file::access access, tolerance tolerant)
    : folders_(checked(std::move(where))), access_(access), tolerant_(std::move(tolerant)) {}

// Never waits for a lock while it holds another one.
void transaction::enter(const folders &place, bool needs_delta) {
    const bool makes_delta = needs_delta && !place.delta.empty() && access_ == file::access::exclusive;
    if (place_ == place && (!makes_delta || locks_.has_delta))
        return;
    end();
    if (makes_delta)
        make_folder(place.delta);
    locks_ = lock_folders(place, access_);
    place_ = place;
}

session &transaction::open(const std::string &name) {
    const std::string own_name(package_name(name));
    if (!is_package_name(own_name))
        throw parse_error();
    if (const auto known = sessions_.find(name); known != sessions_.end())
        return known->second;
    const folders place = place_of(folders_, name);
    expect_there(file_of(place, own_name));
    enter(place, true);
    return sessions_.try_emplace(name, place, own_name, tolerant_).first->second;
}

void transaction::close_ended(const std::string &name) {
    if (const auto known = sessions_.find(name); known != sessions_.end() && known->second.has_ended())
        sessions_.erase(known);
}

package &transaction::read(const std::string &name) { return open(name).content; }

std::vector<change> transaction::recorded(const std::string &name) {
    const session &work = open(name);
    std::vector<change> all = work.found;
    all.insert(all.end(), work.recorded.begin(), work.recorded.end());
    return all;
}

void transaction::record(action kind, const path &where) {
    if (where.section.empty())
        throw invalid_argument();
    open(where.package).record(kind, where);
}

std::string transaction::add(const std::string &name, const std::string &type) {
    session &work = open(name);
    std::string section = work.content.next_name(type);
    work.record_all({{action::add, section, "", type}});
    return section;
}

void transaction::merge(const std::string &name, std::string_view text) {
    session &work = open(name);
    work.record_all(parse_merge(work.content, text, tolerant_));
}

void transaction::revert(const path &where) {
    session &work = open(where.package);
    work.write();
    const change wanted = resolve(work.content, action::remove, where);
    std::vector<change> kept = work.recorded;
    std::erase_if(kept, [&](const change &each) { return concerns(each, wanted); });
    work.keep(kept);
    close_ended(where.package);
}

void transaction::commit(const std::string &name) {
    session &work = open(name);
    try {
        work.commit();
    } catch (...) {
        close_ended(name);
        throw;
    }
    close_ended(name);
}

void transaction::replace(const std::string &name, const package &with) {
    const std::string own_name(package_name(name));
    if (!is_package_name(own_name))
        throw parse_error();
    const folders place = place_of(folders_, name);
    enter(place, false);
    if (const auto known = sessions_.find(name); known != sessions_.end()) {
        known->second.write();
        sessions_.erase(known);
    }
    if (!place.delta.empty())
        settle(place, own_name);
    replacement next(file_of(place, own_name), to_text(with));
    next.put_in_place();
    next.confirm();
}

void transaction::end() {
    std::exception_ptr problem;
    for (auto &[name, work] : sessions_) {
        try {
            work.write();
        } catch (const error &) {
            problem = std::current_exception();
        }
    }
    sessions_.clear();
    locks_ = {};
    place_.reset();
    has_lost_changes_ = has_lost_changes_ || problem != nullptr;
    if (problem)
        std::rethrow_exception(problem);
}

} // namespace uci
