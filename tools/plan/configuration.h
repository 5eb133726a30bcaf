// SPDX-License-Identifier: Apache-2.0
// A device's configuration while requests are rehearsed on it: UCI in memory, with what is recorded apart
// from what is committed, and cheap to put back.
#pragma once

#include "devkit/rehearsal/world.h"
#include "devkit/uci/path.h"
#include "tools/plan/comparison.h"
#include "tools/plan/snapshot.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct batch_entry;

namespace plan {

// Finds texts in a table of strings without a copy of them.
struct text_hash {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};
template <typename Value>
using text_table = std::unordered_map<std::string, Value, text_hash, std::equal_to<>>;

// A path in the words of whoever asked, parsed once.
struct known_path {
    uci::path where;
    bool valid = false;
    size_t package = 0;                    // its number within the configuration
    std::vector<const batch_entry *> rows; // of the batch tables that have this path
};

class configuration {
public:
    configuration() = default;
    configuration(const configuration &) = delete;
    configuration &operator=(const configuration &) = delete;

    // Becomes the configuration of a device.
    void load(const snapshot &device);

    // The functions by which the stage reaches it.
    stage_uci functions();

    // Before all plays, once: the tables whose rows are found by path.
    void know_row(const batch_entry &row);

    // The state that put_back returns to, and the return.
    void mark();
    void put_back();

    // Gives the option a value in both states, creating its section; for rehearsing on another device.
    void fill(const std::string &path, const std::string &value);

    // Gives the package this content in both states.
    void put_package(const uci::package &content);

    // Makes the package exist, empty, where it does not.
    void create_package(const std::string &name);

    // What differs between the committed states at the mark and now, in the order of first writing, before it
    // what no play has written. Paths are those that a play has used.
    std::vector<option_change> committed_changes();

    // The committed state of a package now; null when it does not exist.
    const uci::package *committed(const std::string &package) const;

    // What is recorded now and not committed.
    std::vector<option_change> recorded_changes();

    // The option's own name, the same for every path that leads to it; "" for a path that leads nowhere.
    std::string resolve(const std::string &path);

    // What keeps the option from being written, the package or the section that is missing, in words; "" for
    // nothing.
    std::string lack_of(const std::string &path);

    // What the option holds now, recorded or committed; a list's values joined by a space.
    std::optional<std::string> value(const std::string &path);
    bool is_list(const std::string &path);

    // Paths that were read while the row with that path had a value: what decided about a key.
    const std::vector<const batch_entry *> &rows_read() const { return rows_read_; }

private:
    using shared_package = std::shared_ptr<uci::package>;
    struct state {
        shared_package committed, current; // null when the package does not exist
    };
    struct slot {
        std::string name;
        state now, marked;
    };

    text_table<known_path>::value_type &entry_of(std::string_view path);
    known_path &know(std::string_view path) { return entry_of(path).second; }
    void know_again(const batch_entry &row);
    void forget_names();
    size_t slot_of(const std::string &package);
    uci::package *writable(size_t number);
    uci::section *section_of(const known_path &wanted);
    const uci::option *option_at(const known_path &wanted);
    std::map<std::string, std::string> written_paths();
    void sort_by_writing(std::vector<option_change> &changes) const;

    const char *get(const char *path);
    bool set(const char *path, const char *value);
    bool remove(const char *path);
    bool commit(const char *package);
    void commit_all();
    int section_count(const char *package, const char *type);

    std::vector<const batch_entry *> rows_;
    std::vector<slot> slots_;
    text_table<size_t> slot_numbers_;
    text_table<known_path> paths_;
    std::vector<const batch_entry *> rows_read_;
    std::vector<const std::string *> written_; // the paths that a play has written
    std::string joined_;
};

} // namespace plan
