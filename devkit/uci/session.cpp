// SPDX-License-Identifier: Apache-2.0
// One package in memory between reading its files and writing them.
#include "devkit/uci/session.h"

#include "devkit/uci/error.h"
#include "devkit/uci/text.h"

#include <fcntl.h>

namespace uci {

namespace {

void apply_all(package &target, const std::vector<change> &changes) {
    for (const change &each : changes) {
        try {
            apply(target, each);
        } catch (const error &) {
            continue; // the file has changed under the delta; the other lines still count
        }
    }
}

std::vector<change> changes_in(const std::string &folder, const std::string &name) {
    try {
        return parse_delta(name, file(folder + "/" + name, O_RDONLY).read()).changes;
    } catch (const not_found &) {
        return {};
    }
}

std::string lines_of(const std::string &name, const std::vector<change> &changes) {
    std::string lines;
    for (const change &each : changes)
        lines += to_line(name, each);
    return lines;
}

delta_file delta_of(const folders &where, const std::string &name, const file &config) {
    return {where.delta + "/" + name, name, file_of(where, name), identity_of(config)};
}

} // namespace

session::session(const folders &where, const std::string &name, const tolerance &tolerant)
    : file_(file_of(where, name)) {
    const file source(file_, O_RDONLY);
    content = parse_file(name, source.read(), tolerant);
    mode_ = source.status().st_mode & 0777;
    if (where.delta.empty())
        return;
    for (const std::string &folder : where.search)
        for (change &each : changes_in(folder, name))
            found.push_back(std::move(each));
    delta_ = delta_of(where, name, source);
    recorded = delta_->changes();
    apply_all(content, found);
    apply_all(content, recorded);
}

void session::expect_recordable() const {
    if (delta_ && !is_recordable_package(content.name))
        throw parse_error();
}

void session::remember(const change &made) {
    unwritten_ += to_line(content.name, made);
    recorded.push_back(made);
}

void session::record(action kind, const path &where) {
    expect_recordable();
    if (const std::optional<change> made = make(content, kind, where))
        remember(*made);
}

void session::record_all(const std::vector<change> &changes) {
    expect_recordable();
    for (const change &each : changes) {
        apply(content, each);
        remember(each);
    }
}

void session::write_file() {
    replacement next(file_, to_text(content));
    next.put_in_place();
    unwritten_.clear();
    next.confirm();
}

void session::write() {
    if (unwritten_.empty())
        return;
    if (delta_)
        delta_->append(unwritten_, mode_);
    else
        write_file();
    unwritten_.clear();
}

void session::commit() {
    if (!delta_) {
        write();
        return;
    }
    if (!found.empty() || !recorded.empty()) {
        replacement next(file_, to_text(content));
        delta_->mark_committed(next.identity());
        next.put_in_place();
        has_ended_ = true;
        next.confirm();
    }
    has_ended_ = true;
    delta_->empty();
}

void session::keep(const std::vector<change> &kept) {
    if (kept.size() == recorded.size() || !delta_)
        return;
    delta_->rewrite(lines_of(content.name, kept));
    has_ended_ = true;
}

void settle(const folders &where, const std::string &name) {
    try {
        const file config(file_of(where, name), O_RDONLY);
        delta_file delta = delta_of(where, name, config);
        if (!delta.has_committed())
            return;
        if (delta.changes().empty())
            delta.empty();
        else
            delta.rewrite(lines_of(name, delta.changes()));
    } catch (const not_found &) {
        return; // a new package
    }
}

} // namespace uci
