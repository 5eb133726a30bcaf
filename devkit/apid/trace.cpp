// SPDX-License-Identifier: Apache-2.0
// Writes the record.
#include "devkit/apid/trace.h"

#include "devkit/apid/json.h"
#include "devkit/time_text.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

} // namespace

void keep_in(const std::string &file) { kept_in = file; }

bool is_kept() { return !kept_in.empty(); }

void add(const char *kind, json_object *members) {
    const json_ptr line(json_object_new_object());
    json_object_object_add(line.get(), "time", json_object_new_string(time_text().c_str()));
    json_object_object_add(line.get(), "kind", json_object_new_string(kind));
    json_object_object_add(line.get(), "of", members);
    append(std::string(json_object_to_json_string_ext(line.get(), JSON_C_TO_STRING_PLAIN)) + '\n');
}

} // namespace apid::trace
