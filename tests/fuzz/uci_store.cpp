// SPDX-License-Identifier: Apache-2.0
// The UCI store on a disk that may fail at any call, and a process that may die at any call: what was
// acknowledged is there, what was refused changed nothing, and what was cut short is done whole or not at
// all.
#include "devkit/uci/error.h"
#include "devkit/uci/format.h"
#include "devkit/uci/store.h"
#include "devkit/uci/transaction.h"
#include "tests/fuzz/bytes.h"
#include "tests/fuzz/expect.h"
#include "tests/fuzz/faults.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

// A folder of this process, in memory where there is such a place.
class scratch {
public:
    scratch() {
        std::error_code missing;
        std::string name =
            fs::is_directory("/dev/shm", missing) ? "/dev/shm" : fs::temp_directory_path().string();
        name += "/aerolink-fuzz-XXXXXX";
        fuzz::expect(mkdtemp(name.data()) != nullptr, "a folder can be made", name);
        root_ = name;
        fs::create_directory(root_ / "config");
    }
    ~scratch() {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }
    scratch(const scratch &) = delete;
    scratch &operator=(const scratch &) = delete;

    uci::folders folders() const { return {root_ / "config", root_ / "delta"}; }
    fs::path config() const { return root_ / "config"; }
    fs::path file() const { return root_ / "config" / "net"; }
    fs::path delta() const { return root_ / "delta" / "net"; }

private:
    fs::path root_;
};

const scratch &place() {
    static const scratch made;
    return made;
}

void write_file(const fs::path &path, std::string_view text) {
    std::FILE *out = std::fopen(path.c_str(), "w");
    fuzz::expect(out != nullptr, "a file can be written", path.string());
    std::fwrite(text.data(), 1, text.size(), out);
    std::fclose(out);
}

std::string read_file(const fs::path &path) {
    std::string text;
    std::FILE *in = std::fopen(path.c_str(), "r");
    if (in == nullptr)
        return text;
    char block[4096];
    for (size_t count = 0; (count = std::fread(block, 1, sizeof block, in)) != 0;)
        text.append(block, count);
    std::fclose(in);
    return text;
}

// --- What is asked of the store ------------------------------------------------------------------

constexpr const char *names[] = {"lan", "wan", "a", "b", "x", "dns", "cfg0392bd", "cfg0292bd"};
constexpr const char *sections[] = {"lan",  "wan",     "a",         "@rule[0]", "@rule[-1]",
                                    "@[1]", "@rule[]", "cfg0292bd", "cfg0392bd"};
constexpr const char *types[] = {"rule", "interface", "t'u", "a;b", "x"};
constexpr const char *values[] = {"1",    "",  "2",    "it's", "a b", "\n", "-net.lan", "'\nnet.lan.x='9",
                                  "\"\\", "#", "\x01", "0",    "5"};
constexpr const char *files[] = {
    R"(config interface 'lan'
    option proto 'static'
    list dns '1'
    list dns '2'
config rule
    option a '1'
)",
    "",
    R"(config rule
config rule
    list x ''
config rule 'cfg0392bd'
)",
    "config interface lan\n option a 1 # b",
};
constexpr uci::action kinds[] = {uci::action::set,      uci::action::set,         uci::action::remove,
                                 uci::action::list_add, uci::action::list_remove, uci::action::rename,
                                 uci::action::reorder};

uci::path read_path(fuzz::bytes &input) {
    uci::path where{"net", input.one_of(sections), "", std::nullopt};
    if (input.below(4) != 0)
        where.option = input.one_of(names);
    if (const size_t choice = input.below(std::size(values) + std::size(types) + 4);
        choice < std::size(values))
        where.value = values[choice];
    else if (choice < std::size(values) + std::size(types))
        where.value = types[choice - std::size(values)];
    else if (choice != std::size(values) + std::size(types))
        where.value = input.one_of(names);
    return where;
}

// --- What is there -------------------------------------------------------------------------------

uci::package load() { return uci::store(place().folders()).load("net"); }

std::string text_of(const uci::package &content) { return uci::to_export(content, true); }

// The package as the store is asked to make it; throws as the store has to.
uci::package after(uci::package content, uci::action kind, const uci::path &where) {
    uci::change wanted{kind, where.section, where.option, where.value};
    const uci::section *found = content.find(where.section);
    if (found != nullptr)
        wanted.section = found->name;
    if (kind == uci::action::set && where.value == "") {
        if (found == nullptr && !where.option.empty())
            throw uci::invalid_argument();
        if (found == nullptr ||
            (!where.option.empty() && content.find(wanted.section)->find(where.option) == nullptr))
            return content;
        wanted = {uci::action::remove, wanted.section, where.option, std::nullopt};
    }
    uci::apply(content, wanted);
    return content;
}

// The place of a change that was made shows it.
void expect_visible(uci::package content, const uci::path &where, uci::action kind) {
    if (kind != uci::action::set || where.option.empty() || !where.value)
        return;
    uci::section *section = content.find(where.section);
    fuzz::expect(section != nullptr, "the section of a set option is there", where.section);
    const uci::option *option = section->find(where.option);
    if (where.value->empty())
        fuzz::expect(option == nullptr, "an option set to nothing is gone", where.option);
    else
        fuzz::expect(option != nullptr && option->values == std::vector<std::string>{*where.value},
                     "an option that was set has the value", where.option);
}

// --- Steps ---------------------------------------------------------------------------------------

enum class ended { well, refused, failed };

struct attempt {
    ended how;
    bool was_killed;
};

// Runs a step of the store, in which a system call may fail.
attempt run(fuzz::bytes &input, const std::function<void(const uci::store &)> &step) {
    const unsigned plan = input.next();
    const uci::store store(place().folders());
    if (plan >= 192)
        fuzz::fail_and_die((plan - 192) / 2, input.below(12));
    else if (plan >= 64)
        fuzz::fail_call((plan - 64) / 2 % 32, plan % 2 == 0 ? fuzz::failure::error : fuzz::failure::death);
    ended how = ended::well;
    try {
        step(store);
    } catch (const uci::io_error &) {
        how = ended::failed;
    } catch (const uci::error &) {
        how = ended::refused;
    }
    const bool was_killed = fuzz::is_dead();
    const bool has_failed = fuzz::stop_failing() && plan >= 64;
    fuzz::expect(how != ended::failed || has_failed, "no step fails by itself");
    return {how, was_killed};
}

void record(fuzz::bytes &input) {
    const uci::action kind = input.one_of(kinds);
    const uci::path where = read_path(input);
    const uci::package before = load();
    const attempt made = run(input, [&](const uci::store &store) { store.record(kind, where); });
    const std::string now = text_of(load());
    std::string expected;
    try {
        expected = text_of(after(before, kind, where));
    } catch (const uci::error &) {
        fuzz::expect(made.how != ended::well && now == text_of(before), "what makes no sense is refused",
                     now);
        return;
    }
    if (made.how == ended::well && !made.was_killed) {
        fuzz::expect(now == expected, "a recorded change is there", now);
        expect_visible(load(), where, kind);
    } else {
        fuzz::expect(made.how != ended::refused || made.was_killed, "what makes sense is not refused",
                     expected);
        fuzz::expect(now == text_of(before) || (made.was_killed && now == expected),
                     "a failed change is none", now);
    }
}

void add(fuzz::bytes &input) {
    const std::string type = input.one_of(types);
    const uci::package before = load();
    std::string name;
    const attempt made = run(input, [&](const uci::store &store) { name = store.add("net", type); });
    uci::package now = load();
    if (made.how == ended::well && !made.was_killed) {
        const uci::section *added = now.find(name);
        fuzz::expect(added != nullptr && added->type == type &&
                         now.sections.size() == before.sections.size() + 1,
                     "an added section is there", name);
        return;
    }
    fuzz::expect(text_of(now) == text_of(before) ||
                     (made.was_killed && now.sections.size() == before.sections.size() + 1),
                 "a failed section is none", text_of(now));
}

// Generated names are made anew whenever a file is read, so that a commit may change them.
void commit(fuzz::bytes &input) {
    const std::string before = uci::to_text(load());
    const std::string file_before = read_file(place().file());
    const attempt made = run(input, [](const uci::store &store) { store.commit("net"); });
    const std::string file = read_file(place().file());
    fuzz::expect(uci::to_text(load()) == before, "a commit changes nothing that is read", before);
    const std::string written = uci::to_text(uci::parse_file("net", file));
    fuzz::expect(file == file_before || file == written, "a file is whole", file);
    if (made.how != ended::well || made.was_killed)
        return;
    fuzz::expect(written == before, "a commit makes durable what is read", file);
    fuzz::expect(uci::store(place().folders()).recorded("net").empty(), "a commit leaves nothing recorded");
}

bool concerns(const uci::change &recorded, const std::string &section, const std::string &option) {
    return (section.empty() || recorded.section == section) && (option.empty() || recorded.option == option);
}

void revert(fuzz::bytes &input) {
    uci::path where = read_path(input);
    where.value.reset();
    if (input.flip())
        where.section = where.option = "";
    const std::string before = text_of(load());
    const std::vector<uci::change> recorded = uci::store(place().folders()).recorded("net");
    uci::package content = load();
    const uci::section *found = content.find(where.section);
    const attempt made = run(input, [&](const uci::store &store) { store.revert(where); });
    const std::vector<uci::change> kept = uci::store(place().folders()).recorded("net");
    const std::string section = found != nullptr ? found->name : where.section;
    std::string wanted;
    for (const uci::change &each : recorded)
        if (!concerns(each, section, where.option))
            wanted += uci::to_line("net", each);
    std::string left;
    for (const uci::change &each : kept)
        left += uci::to_line("net", each);
    const bool is_done = left == wanted;
    if (made.how == ended::well && !made.was_killed)
        fuzz::expect(is_done, "a revert takes back what it names and nothing else", left);
    else
        fuzz::expect(is_done || text_of(load()) == before, "a revert that fails is done whole or not at all",
                     left);
}

// Steps of one transaction, each of which sees what the ones before it did.
class steps {
public:
    explicit steps(uci::transaction &work) : work_(work), now_(work.read("net")) { remember(); }

    void record(fuzz::bytes &input) {
        const uci::action kind = input.one_of(kinds);
        const uci::path where = read_path(input);
        take([&] { return after(now_, kind, where); }, [&] { work_.record(kind, where); });
    }

    void add(fuzz::bytes &input) {
        const std::string type = input.one_of(types);
        const auto model = [&] {
            uci::package content = now_;
            uci::apply(content, {uci::action::add, content.next_name(type), "", type});
            return content;
        };
        take(model, [&] { work_.add("net", type); });
    }

    void merge(fuzz::bytes &input) {
        const std::string text = input.one_of(files);
        const auto model = [&] {
            uci::package content = now_;
            for (const uci::change &each : uci::parse_merge(now_, text)) {
                uci::apply(content, each);
                seen_.push_back(uci::to_text(content)); // each is a line of its own
            }
            return content;
        };
        take(model, [&] { work_.merge("net", text); });
    }

    void commit() {
        take([&] { return now_; }, [&] { work_.commit("net"); });
    }

    // What a reader may find when the transaction is killed: what any number of its steps did.
    bool was_ever(const uci::package &content) const {
        return std::ranges::find(seen_, uci::to_text(content)) != seen_.end();
    }

    const uci::package &now() const { return now_; }

private:
    template <typename Model, typename Step>
    void take(Model model, Step step) {
        uci::package expected = now_;
        bool makes_sense = true;
        try {
            expected = model();
        } catch (const uci::error &) {
            makes_sense = false;
        }
        try {
            step();
            fuzz::expect(makes_sense, "what makes no sense is refused", text_of(now_));
        } catch (const uci::io_error &) {
            throw;
        } catch (const uci::error &refusal) {
            fuzz::expect(!makes_sense, "what makes sense is not refused", refusal.what());
        }
        now_ = work_.read("net"); // a commit gives anonymous sections other names
        fuzz::expect(uci::to_text(now_) == uci::to_text(expected), "a step sees the ones before it",
                     text_of(now_));
        remember();
    }

    void remember() { seen_.push_back(uci::to_text(now_)); }

    uci::transaction &work_;
    uci::package now_;
    std::vector<std::string> seen_;
};

void take_step(fuzz::bytes &input, steps &taken) {
    switch (input.below(8)) {
    case 0:
        taken.commit();
        break;
    case 1:
        taken.add(input);
        break;
    case 2:
        taken.merge(input);
        break;
    default:
        taken.record(input);
    }
}

void batch(fuzz::bytes &input) {
    const uci::package before = load();
    uci::transaction work(place().folders(), uci::file::access::exclusive);
    std::optional<steps> taken;
    const attempt made = run(input, [&](const uci::store &) {
        taken.emplace(work);
        for (size_t count = 1 + input.below(5); count != 0; --count)
            take_step(input, *taken);
        work.end();
    });
    work = uci::transaction(place().folders(), uci::file::access::exclusive); // nobody waits for a dead one
    const uci::package now = load();
    if (!taken)
        fuzz::expect(text_of(now) == text_of(before), "a transaction that did not begin is none",
                     text_of(now));
    else if (made.how == ended::well && !made.was_killed)
        fuzz::expect(text_of(now) == text_of(taken->now()), "what a transaction wrote is there",
                     text_of(now));
    else
        fuzz::expect(taken->was_ever(now), "a transaction that is cut short leaves whole steps",
                     text_of(now));
}

// Another program's file or line; whatever it is, the store goes on.
void interfere(fuzz::bytes &input) {
    if (input.flip()) {
        write_file(place().file(), input.one_of(files));
        return;
    }
    std::error_code there;
    fs::create_directory(place().delta().parent_path(), there);
    std::string line(input.line());
    if (input.flip())
        line += '\n';
    write_file(place().delta(), read_file(place().delta()) + line);
}

// The next commit clears up after those that were killed.
void expect_tidy() {
    const uci::store store(place().folders());
    store.record(uci::action::set, {"net", "last", "", "step"});
    store.commit("net");
    for (const fs::directory_entry &entry : fs::directory_iterator(place().config()))
        fuzz::expect(entry.path().filename() == "net", "a commit leaves no other file",
                     entry.path().string());
}

void begin(fuzz::bytes &input) {
    std::error_code missing;
    for (const fs::directory_entry &entry : fs::directory_iterator(place().config()))
        fs::remove(entry.path());
    fs::remove(place().delta(), missing);
    write_file(place().file(), input.one_of(files));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::bytes input(data, size);
    begin(input);
    for (int step = 0; step < 16 && !input.empty(); ++step) {
        switch (input.below(14)) {
        case 0:
            add(input);
            break;
        case 1:
        case 2:
            commit(input);
            break;
        case 3:
            revert(input);
            break;
        case 4:
            interfere(input);
            break;
        case 5:
        case 6:
            batch(input);
            break;
        default:
            record(input);
        }
    }
    expect_tidy();
    return 0;
}
