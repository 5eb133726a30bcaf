// SPDX-License-Identifier: Apache-2.0
// Snapshots from a backup, which anybody may have made: only files that are of use are taken, into memory,
// and there are limits to what is looked at.
#include "tools/plan/sources.h"

#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <filesystem>
#include <memory>

namespace plan {

namespace {

constexpr size_t entries_limit = 10000;
constexpr size_t unpacked_limit = size_t{64} << 20; // bytes of all entries, taken or not

struct archive_release {
    void operator()(archive *opened) const { archive_read_free(opened); }
};
using archive_owner = std::unique_ptr<archive, archive_release>;

void expect(int result, archive *opened) {
    if (result != ARCHIVE_OK)
        throw input_error(
            std::string("the backup cannot be read: ") +
            (archive_error_string(opened) != nullptr ? archive_error_string(opened) : "damaged"));
}

archive_owner open_archive(std::string_view content) {
    archive_owner opened(archive_read_new());
    expect(archive_read_support_filter_gzip(opened.get()), opened.get());
    expect(archive_read_support_format_tar(opened.get()), opened.get());
    expect(archive_read_open_memory(opened.get(), content.data(), content.size()), opened.get());
    return opened;
}

// The path below the device's root, however the archive spells it.
std::string_view plain_path(const char *stored) {
    std::string_view path = stored != nullptr ? stored : "";
    while (path.starts_with("./") || path.starts_with("/"))
        path.remove_prefix(path[0] == '/' ? 1 : 2);
    return path;
}

// Reads the entry's content, and keeps it when there is somewhere to.
void read_entry(archive *opened, const std::string &path, std::string *out, size_t &unpacked) {
    std::array<char, 65536> block{};
    for (;;) {
        const la_ssize_t length = archive_read_data(opened, block.data(), block.size());
        if (length < 0)
            expect(ARCHIVE_FATAL, opened);
        if (length == 0)
            return;
        unpacked += static_cast<size_t>(length);
        if (unpacked > unpacked_limit)
            throw input_error("the backup holds more than " + std::to_string(unpacked_limit) + " bytes");
        if (out == nullptr)
            continue;
        out->append(block.data(), static_cast<size_t>(length));
        if (out->size() > file_limit)
            throw input_error(path + " in the backup is larger than " + std::to_string(file_limit) +
                              " bytes");
    }
}

// A path that only leads to what is of use by way of "..", "." or "//" is no path that a device writes.
void expect_straight(const std::string &path) {
    const std::string meant = std::filesystem::path(path).lexically_normal();
    if (meant != path && is_of_use(meant))
        throw input_error(path + " in the backup is another way to write " + meant);
}

void take_entry(archive *opened, archive_entry *entry, file_map &out, size_t &unpacked) {
    const std::string path(plain_path(archive_entry_pathname(entry)));
    expect_straight(path);
    if (!is_of_use(path)) {
        read_entry(opened, path, nullptr, unpacked);
        return;
    }
    if (archive_entry_filetype(entry) != AE_IFREG || archive_entry_hardlink(entry) != nullptr)
        throw input_error(path + " in the backup is no plain file");
    if (out.contains(path))
        throw input_error(path + " is in the backup twice");
    read_entry(opened, path, &out[path], unpacked);
}

} // namespace

snapshot from_backup(std::string_view archive, const std::string &model) {
    const archive_owner opened = open_archive(archive);
    file_map files;
    size_t unpacked = 0;
    for (size_t entries = 0;; ++entries) {
        archive_entry *entry = nullptr;
        const int result = archive_read_next_header(opened.get(), &entry);
        if (result == ARCHIVE_EOF)
            return from_files(files, model);
        expect(result, opened.get());
        if (entries == entries_limit)
            throw input_error("the backup has more than " + std::to_string(entries_limit) + " entries");
        take_entry(opened.get(), entry, files, unpacked);
    }
}

} // namespace plan
