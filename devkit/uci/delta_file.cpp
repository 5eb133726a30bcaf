// SPDX-License-Identifier: Apache-2.0
// The delta file of one package: changes that wait for their commit.
#include "devkit/uci/delta_file.h"

#include "devkit/uci/error.h"
#include "devkit/uci/file_io.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace uci {

namespace {

// Hidden, and cleared away with what else a killed commit leaves.
std::string mark_path_of(const std::string &config) {
    const std::filesystem::path path = config;
    return path.parent_path() / ("." + path.filename().string() + ".uci-committed");
}

// Nothing when it is not there.
std::optional<std::string> text_of(const std::string &path) {
    try {
        return file(path, O_RDONLY).read();
    } catch (const not_found &) {
        return std::nullopt;
    }
}

} // namespace

delta_file::delta_file(const std::string &path, const std::string &package, const std::string &config,
                       const std::string &identity)
    : path_(path), mark_path_(mark_path_of(config)) {
    const std::optional<std::string> beside = text_of(mark_path_);
    is_marked_beside_ = beside.has_value();
    const std::optional<std::string> text = text_of(path_);
    if (!text)
        return;
    delta found = parse_delta(package, *text);
    size_ = text->size();
    whole_ = found.whole;
    changes_ = std::move(found.changes);
    const auto last = std::find_if(found.marks.rbegin(), found.marks.rend(),
                                   [&](const mark &each) { return each.identity == identity; });
    size_t committed = last == found.marks.rend() ? 0 : last->changes;
    if (beside && *beside == mark_for(identity))
        committed = changes_.size();
    has_committed_ = committed != 0;
    changes_.erase(changes_.begin(), changes_.begin() + static_cast<std::ptrdiff_t>(committed));
}

void delta_file::append_text(const std::string &text, mode_t mode) {
    const file out(path_, O_WRONLY | O_CREAT | O_APPEND, mode);
    if (whole_ != size_)
        out.truncate(whole_);
    size_ = whole_;
    try {
        out.write(text);
    } catch (const error &) {
        out.truncate(whole_);
        throw;
    }
    size_ = whole_ = whole_ + text.size();
}

void delta_file::append(const std::string &lines, mode_t mode) {
    if (has_committed_ && changes_.empty())
        empty();
    forget_mark_beside();
    append_text(lines, mode);
}

void delta_file::rewrite(const std::string &lines) {
    replacement next(path_, lines);
    next.put_in_place();
    next.confirm();
    size_ = whole_ = lines.size();
    has_committed_ = false;
}

// Of this very delta, which whoever adds to it makes another one.
std::string delta_file::mark_for(const std::string &identity) const {
    return to_mark(identity + " " + identity_of(file(path_, O_RDONLY)) + " " + std::to_string(whole_));
}

void delta_file::mark_committed(const std::string &identity) {
    if (is_empty())
        return;
    try {
        append_text(to_mark(identity), 0);
        return;
    } catch (const io_error &) {
        is_marked_beside_ = true; // a full delta folder must not stop the commit, which will empty it
    }
    const std::string mark = mark_for(identity);
    const file out(mark_path_, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    try {
        out.write(mark);
    } catch (const error &) {
        forget_mark_beside();
        throw;
    }
}

void delta_file::forget_mark_beside() {
    if (is_marked_beside_ && ::unlink(mark_path_.c_str()) != 0 && errno != ENOENT)
        throw io_error(errno);
    is_marked_beside_ = false;
}

void delta_file::empty() {
    if (!is_empty())
        file(path_, O_WRONLY).truncate(0);
    size_ = whole_ = 0;
    has_committed_ = false;
    forget_mark_beside();
}

} // namespace uci
