// SPDX-License-Identifier: Apache-2.0
// Writes the record.
#include "devkit/apid/trace.h"

#include "devkit/apid/json.h"
#include "devkit/time_text.h"

#include <cstdio>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace apid::trace {

namespace {

constexpr off_t max_file = off_t{8} << 20;

std::string kept_in;

void append(const std::string &line) {
    struct stat facts {};
    if (stat(kept_in.c_str(), &facts) == 0 && facts.st_size > max_file)
        std::rename(kept_in.c_str(), (kept_in + ".old").c_str());
    const int file = open(kept_in.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (file < 0)
        return;
    [[maybe_unused]] const ssize_t written = write(file, line.data(), line.size());
    close(file);
}

std::string line_of(const char *kind, json_ptr values) {
    const json_ptr line = new_object();
    add_member(line.get(), "time", new_text(time_text()));
    add_member(line.get(), "kind", new_text(kind));
    add_member(line.get(), "of", std::move(values));
    return std::string(to_text(line.get(), JSON_C_TO_STRING_PLAIN)) + '\n';
}

} // namespace

void keep_in(const std::string &file) { kept_in = file; }

bool is_kept() { return !kept_in.empty(); }

void add(const char *kind, members of) noexcept {
    json_ptr values(json_object_new_object());
    for (const auto &[name, value] : of)
        if (values == nullptr || json_object_object_add(values.get(), name, value) != 0)
            json_object_put(value);
    try {
        append(line_of(kind, std::move(values)));
    } catch (const std::bad_alloc &) {
    }
}

} // namespace apid::trace
