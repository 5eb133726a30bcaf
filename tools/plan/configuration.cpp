// SPDX-License-Identifier: Apache-2.0
// A device's configuration while requests are rehearsed on it.
#include "tools/plan/configuration.h"

#include "devkit/uci/error.h"
#include "plugin/aerolink.h"
#include "tools/plan/comparison.h"

#include <algorithm>

namespace plan {

namespace {

constexpr size_t slots_limit = 256;

configuration &self(void *context) { return *static_cast<configuration *>(context); }

} // namespace

void configuration::know_row(const batch_entry &row) {
    rows_.push_back(&row);
    know_again(row);
}

void configuration::know_again(const batch_entry &row) {
    known_path &known = know(row.uci_path);
    if (std::ranges::find(known.rows, &row) == known.rows.end())
        known.rows.push_back(&row);
}

void configuration::load(const snapshot &device) {
    for (slot &each : slots_)
        each.now = {};
    if (slots_.size() > slots_limit)
        forget_names();
    for (const uci::package &each : device.packages) {
        slot &own = slots_[slot_of(each.name)];
        own.now.committed = own.now.current = std::make_shared<uci::package>(each);
    }
    for (const auto &[name, changes] : device.changes) {
        uci::package *content = writable(slot_of(name));
        for (const uci::change &each : changes) {
            try {
                if (content != nullptr)
                    uci::apply(*content, each);
            } catch (const uci::error &) {
                continue; // as the store passes over it
            }
        }
    }
    mark();
}

// Devices may have packages of any name; what was learned of many of them must not pile up.
void configuration::forget_names() {
    slots_.clear();
    slot_numbers_.clear();
    paths_.clear();
    for (const batch_entry *each : rows_)
        know_again(*each);
}

stage_uci configuration::functions() {
    stage_uci table{};
    table.context = this;
    table.get = [](void *context, const char *path) { return self(context).get(path); };
    table.set = [](void *context, const char *path, const char *value) {
        return self(context).set(path, value);
    };
    table.remove = [](void *context, const char *path) { return self(context).remove(path); };
    table.commit = [](void *context, const char *package) { return self(context).commit(package); };
    table.commit_all = [](void *context) { self(context).commit_all(); };
    table.section_count = [](void *context, const char *package, const char *type) {
        return self(context).section_count(package, type);
    };
    table.mark = [](void *context) { self(context).mark(); };
    table.put_back = [](void *context) { self(context).put_back(); };
    return table;
}

void configuration::mark() {
    for (slot &each : slots_)
        each.marked = each.now;
    rows_read_.clear();
    written_.clear();
}

void configuration::put_back() {
    for (slot &each : slots_)
        each.now = each.marked;
    rows_read_.clear();
    written_.clear();
}

void configuration::fill(const std::string &path, const std::string &value) {
    const known_path &known = know(path);
    if (!known.valid || known.where.option.empty())
        return;
    slot &own = slots_[known.package];
    const auto filled =
        std::make_shared<uci::package>(own.now.current ? *own.now.current : uci::package{own.name, {}});
    if (filled->find(known.where.section) == nullptr && known.where.section[0] != '@')
        filled->create(known.where.section, "filled", false);
    if (uci::section *section = filled->find(known.where.section))
        section->set(known.where.option, value);
    own.now.current = own.now.committed = filled;
}

void configuration::put_package(const uci::package &content) {
    state &now = slots_[slot_of(content.name)].now;
    now.current = now.committed = std::make_shared<uci::package>(content);
}

void configuration::create_package(const std::string &name) {
    state &now = slots_[slot_of(name)].now;
    if (!now.current)
        now.current = now.committed = std::make_shared<uci::package>(uci::package{name, {}});
}

std::map<std::string, std::string> configuration::written_paths() {
    std::map<std::string, std::string> result;
    for (const std::string *each : written_)
        result.emplace(resolve(*each), *each);
    return result;
}

void configuration::sort_by_writing(std::vector<option_change> &changes) const {
    std::unordered_map<std::string_view, size_t> places;
    for (const std::string *each : written_)
        places.emplace(*each, places.size() + 1);
    const auto place = [&](const option_change &each) {
        const auto known = places.find(each.path);
        return known == places.end() ? 0 : known->second;
    };
    std::ranges::stable_sort(changes, std::ranges::less(), place);
}

std::vector<option_change> configuration::committed_changes() {
    const std::map<std::string, std::string> written = written_paths();
    std::vector<option_change> result;
    for (const slot &each : slots_)
        if (each.marked.committed != each.now.committed)
            compare(each.marked.committed.get(), each.now.committed.get(), written, result);
    sort_by_writing(result);
    return result;
}

const uci::package *configuration::committed(const std::string &package) const {
    const auto known = slot_numbers_.find(package);
    return known == slot_numbers_.end() ? nullptr : slots_[known->second].now.committed.get();
}

std::vector<option_change> configuration::recorded_changes() {
    const std::map<std::string, std::string> written = written_paths();
    std::vector<option_change> result;
    for (const slot &each : slots_)
        if (each.now.committed != each.now.current)
            compare(each.now.committed.get(), each.now.current.get(), written, result);
    sort_by_writing(result);
    return result;
}

std::string configuration::resolve(const std::string &path) {
    const known_path &known = know(path);
    if (!known.valid)
        return "";
    const uci::section *section = section_of(known);
    const std::string name = section != nullptr ? section->name : known.where.section;
    return known.where.package + "." + name + (known.where.option.empty() ? "" : "." + known.where.option);
}

std::string configuration::lack_of(const std::string &path) {
    const known_path &known = know(path);
    if (!known.valid || section_of(known) != nullptr)
        return "";
    if (!slots_[known.package].now.current)
        return "there is no package " + known.where.package;
    return "this device has no section " + known.where.package + "." + known.where.section;
}

text_table<known_path>::value_type &configuration::entry_of(std::string_view path) {
    if (const auto known = paths_.find(path); known != paths_.end())
        return *known;
    auto &entry = *paths_.emplace(path, known_path()).first;
    known_path &known = entry.second;
    try {
        known.where = uci::parse_path(path);
        known.valid = !known.where.value;
        known.package = slot_of(known.where.package);
    } catch (const uci::error &) {
        known.valid = false;
    }
    return entry;
}

size_t configuration::slot_of(const std::string &package) {
    const auto [entry, is_new] = slot_numbers_.try_emplace(package, slots_.size());
    if (is_new)
        slots_.push_back({package, {}, {}});
    return entry->second;
}

// The package to be changed: a copy of its own where another state shares it. Null when there is none.
uci::package *configuration::writable(size_t number) {
    shared_package &current = slots_[number].now.current;
    if (current && current.use_count() > 1)
        current = std::make_shared<uci::package>(*current);
    return current.get();
}

uci::section *configuration::section_of(const known_path &wanted) {
    const shared_package &current = slots_[wanted.package].now.current;
    return current ? current->find(wanted.where.section) : nullptr;
}

// Null when there is none.
const uci::option *configuration::option_at(const known_path &wanted) {
    uci::section *section = wanted.valid ? section_of(wanted) : nullptr;
    return section == nullptr ? nullptr : section->find(wanted.where.option);
}

std::optional<std::string> configuration::value(const std::string &path) {
    const uci::option *option = option_at(know(path));
    return option == nullptr ? std::nullopt : std::optional(joined_values(*option));
}

bool configuration::is_list(const std::string &path) {
    const uci::option *option = option_at(know(path));
    return option != nullptr && option->is_list;
}

const char *configuration::get(const char *path) {
    const known_path &known = know(path);
    for (const batch_entry *row : known.rows)
        if (row->value != nullptr)
            rows_read_.push_back(row);
    const uci::option *option = option_at(known);
    if (option == nullptr)
        return nullptr;
    if (!option->is_list)
        return option->values.front().c_str();
    joined_ = joined_values(*option);
    return joined_.c_str();
}

bool configuration::set(const char *path, const char *value) {
    const auto &[name, known] = entry_of(path);
    uci::package *content = known.valid ? writable(known.package) : nullptr;
    if (content == nullptr)
        return false;
    uci::path where = known.where;
    where.value = value;
    try {
        uci::make(*content, uci::action::set, where);
    } catch (const uci::error &) {
        return false;
    }
    written_.push_back(&name);
    return true;
}

bool configuration::remove(const char *path) {
    const auto &[name, known] = entry_of(path);
    uci::package *content = known.valid ? writable(known.package) : nullptr;
    if (content == nullptr)
        return false;
    try {
        uci::make(*content, uci::action::remove, known.where);
    } catch (const uci::error &) {
        return false;
    }
    written_.push_back(&name);
    return true;
}

bool configuration::commit(const char *package) {
    const auto known = slot_numbers_.find(package);
    if (known == slot_numbers_.end() || !slots_[known->second].now.current)
        return false;
    state &now = slots_[known->second].now;
    now.committed = now.current;
    return true;
}

void configuration::commit_all() {
    for (slot &each : slots_)
        each.now.committed = each.now.current;
}

int configuration::section_count(const char *package, const char *type) {
    const auto known = slot_numbers_.find(package);
    if (known == slot_numbers_.end() || !slots_[known->second].now.current)
        return 0;
    return static_cast<int>(slots_[known->second].now.current->count(type));
}

} // namespace plan
