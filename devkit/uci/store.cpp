// SPDX-License-Identifier: Apache-2.0
// Configuration files and their deltas on the disk.
#include "devkit/uci/store.h"

#include "devkit/uci/error.h"
#include "devkit/uci/file_io.h"
#include "devkit/uci/format.h"
#include "devkit/uci/text.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>

#include <fcntl.h>

namespace uci {

namespace {

namespace fs = std::filesystem;

file lock_folder(const std::string &path, file::access wanted) {
    file folder(path, O_RDONLY | O_DIRECTORY);
    folder.lock(wanted);
    return folder;
}

std::optional<file> lock_folder_if_there(const std::string &path, file::access wanted) {
    try {
        return lock_folder(path, wanted);
    } catch (const not_found &) {
        return std::nullopt;
    }
}

std::optional<file> open_if_there(const std::string &path) {
    try {
        return file(path, O_RDONLY);
    } catch (const not_found &) {
        return std::nullopt;
    }
}

void make_folder(const std::string &path) {
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST)
        throw io_error(errno);
}

bool is_same_folder(const std::string &one, const std::string &other) {
    std::error_code missing;
    return fs::equivalent(one, other, missing);
}

// A commit ends the delta with this comment and the identity of the file that it is about to put in place.
// Should it be killed before it has emptied the delta, whoever comes next knows whether these changes are in
// the file already.
constexpr std::string_view commit_mark = "#committed ";

// The part of the delta that the file does not hold.
std::string_view pending(std::string_view delta_text, const std::string &file_identity) {
    const size_t line = delta_text.substr(0, delta_text.size() - !delta_text.empty()).rfind('\n') + 1;
    const std::string_view last = delta_text.substr(line);
    if (!last.starts_with(commit_mark) || !last.ends_with('\n'))
        return delta_text;
    const std::string_view identity = last.substr(commit_mark.size(), last.size() - commit_mark.size() - 1);
    return identity == file_identity ? std::string_view() : delta_text.substr(0, line);
}

void apply_all(package &target, const std::vector<change> &changes) {
    for (const change &each : changes) {
        try {
            apply(target, each);
        } catch (const error &) {
            continue; // the file has changed under the delta; the other lines still count
        }
    }
}

// One package, the locks that its reader or writer holds, and its delta file.
class session {
public:
    session(const folders &where, const std::string &name, file::access wanted);

    package content;             // with all changes applied
    std::vector<change> changes; // recorded, not yet committed

    void append(const change &made) const;
    void keep(const std::vector<change> &kept) const;
    void commit() const;

private:
    void apply_search_folder(const std::string &folder);
    void read_delta(const std::string &file_identity);
    void append_text(const std::string &text) const;

    std::string path_;
    std::string delta_path_;
    std::optional<file> config_lock_;
    std::optional<file> delta_lock_;
    std::string delta_text_;  // as it stands in the file
    size_t pending_size_ = 0; // what of it is whole and not yet committed
};

session::session(const folders &where, const std::string &name, file::access wanted)
    : path_(where.config + "/" + name), delta_path_(where.delta + "/" + name) {
    if (!is_package_name(name))
        throw parse_error();
    config_lock_ = lock_folder(where.config, wanted);
    const file source(path_, O_RDONLY);
    content = parse_file(name, source.read());
    for (const std::string &folder : where.search)
        apply_search_folder(folder);
    if (wanted == file::access::exclusive)
        make_folder(where.delta);
    delta_lock_ = lock_folder_if_there(where.delta, wanted);
    if (delta_lock_)
        read_delta(identity_of(source));
}

void session::apply_search_folder(const std::string &folder) {
    const std::optional<file> lock = lock_folder_if_there(folder, file::access::shared);
    if (const std::optional<file> source = open_if_there(folder + "/" + content.name))
        apply_all(content, parse_delta(content.name, source->read()).changes);
}

void session::read_delta(const std::string &file_identity) {
    const std::optional<file> source = open_if_there(delta_path_);
    if (!source)
        return;
    delta_text_ = source->read();
    delta recorded = parse_delta(content.name, pending(delta_text_, file_identity));
    pending_size_ = recorded.whole;
    changes = std::move(recorded.changes);
    apply_all(content, changes);
}

// All of the text or none of it.
void session::append_text(const std::string &text) const {
    const file out(delta_path_, O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (pending_size_ != delta_text_.size())
        out.truncate(pending_size_);
    try {
        out.write(text);
    } catch (const error &) {
        out.truncate(pending_size_);
        throw;
    }
}

void session::append(const change &made) const {
    if (!is_recordable_package(content.name))
        throw parse_error();
    append_text(to_line(content.name, made));
}

void session::keep(const std::vector<change> &kept) const {
    std::string text;
    for (const change &each : kept)
        text += to_line(content.name, each);
    replacement(delta_path_, text).put_in_place();
}

void session::commit() const {
    if (delta_text_.empty())
        return;
    if (!changes.empty()) {
        replacement next(path_, to_text(content));
        try {
            append_text(std::string(commit_mark) + next.identity() + "\n");
        } catch (const error &) {
            // A full delta folder must not stop the commit.
        }
        next.put_in_place();
    }
    file(delta_path_, O_WRONLY).truncate(0);
}

bool concerns(const change &recorded, const change &wanted) {
    return (wanted.section.empty() || recorded.section == wanted.section) &&
           (wanted.option.empty() || recorded.option == wanted.option);
}

// A file larger than any device's is read anew each time, so that little memory is taken.
bool is_worth_keeping(const std::optional<file_stamp> &of) {
    constexpr off_t largest = 256 << 10;
    return !of || (of->size <= largest && of->is_settled());
}

} // namespace

store::store(folders where) : folders_(std::move(where)) {
    // One folder cannot be both: it would be locked twice, and a delta written into the file itself.
    if (is_same_folder(folders_.config, folders_.delta))
        throw invalid_argument();
    std::erase_if(folders_.search,
                  [&](const std::string &each) { return is_same_folder(each, folders_.delta); });
}

std::vector<std::string> store::packages() const {
    std::vector<std::string> names;
    std::error_code failure;
    for (const fs::directory_entry &entry : fs::directory_iterator(folders_.config, failure)) {
        std::error_code gone;
        if (const std::string name = entry.path().filename();
            is_package_name(name) && entry.is_regular_file(gone))
            names.push_back(name);
    }
    if (failure == std::errc::no_such_file_or_directory)
        throw not_found();
    if (failure)
        throw io_error(failure.value());
    std::ranges::sort(names);
    return names;
}

package store::load(const std::string &name) const {
    return session(folders_, name, file::access::shared).content;
}

void store::refresh(const std::string &name, kept_package &kept) const {
    // The stamps are taken before the files are read: who writes without this lock, or from another
    // configuration folder into the same delta, makes them older than what is kept, never newer.
    const file lock = lock_folder(folders_.config, file::access::shared);
    const std::optional<file_stamp> config = stamp_of(folders_.config + "/" + name);
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
    return session(folders_, name, file::access::shared).changes;
}

void store::record(action kind, const path &where) const {
    if (where.section.empty())
        throw invalid_argument();
    session work(folders_, where.package, file::access::exclusive);
    if (const std::optional<change> made = make(work.content, kind, where))
        work.append(*made);
}

std::string store::add(const std::string &name, const std::string &type) const {
    session work(folders_, name, file::access::exclusive);
    const change wanted{action::add, work.content.next_name(type), "", type};
    apply(work.content, wanted);
    work.append(wanted);
    return wanted.section;
}

void store::revert(const path &where) const {
    session work(folders_, where.package, file::access::exclusive);
    if (!where.section.empty() && !is_name(where.section) && !exists(work.content, where))
        throw not_found();
    const change wanted = resolve(work.content, action::remove, where);
    std::vector<change> kept = work.changes;
    std::erase_if(kept, [&](const change &each) { return concerns(each, wanted); });
    if (kept.size() != work.changes.size())
        work.keep(kept);
    else if (!where.section.empty() && !exists(work.content, where))
        throw not_found();
}

void store::commit(const std::string &name) const {
    session(folders_, name, file::access::exclusive).commit();
}

void store::replace(const package &with) const {
    if (!is_package_name(with.name))
        throw parse_error();
    const file lock = lock_folder(folders_.config, file::access::exclusive);
    replacement(folders_.config + "/" + with.name, to_text(with)).put_in_place();
}

} // namespace uci
