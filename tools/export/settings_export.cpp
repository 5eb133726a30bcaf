// SPDX-License-Identifier: Apache-2.0
// The batch that gives a device its settings back.
#include "tools/export/settings_export.h"

#include "devkit/apid/text.h"
#include "plugin/aerolink.h"
#include "tools/plan/bands.h"
#include "tools/plan/plan.h"
#include "tools/vocabulary/keys.h"

#include <algorithm>
#include <map>
#include <optional>
#include <sstream>

namespace plan {

namespace {

constexpr const char *push_route = "batch_set";

// A key of the batch with the options that its rows write on this device.
struct setting {
    std::string key;
    std::vector<std::string> paths;   // of its rows, in their order
    std::vector<std::string> samples; // acceptable values, none of them empty
};

using changes = std::vector<option_change>;

json_owner object_of(const std::string &key, const std::string &value) {
    json_owner result(json_object_new_object());
    json_object_object_add(result.get(), key.c_str(),
                           json_object_new_string_len(value.data(), static_cast<int>(value.size())));
    return result;
}

std::vector<std::string> words_of(const vocabulary::key &known) {
    std::istringstream all(known.words);
    std::vector<std::string> result;
    for (std::string word; std::getline(all, word, '|');)
        result.push_back(word);
    return result;
}

std::vector<std::string> samples_of(const vocabulary::key &known) {
    std::vector<std::string> result{known.example, known.other};
    for (std::string &word : words_of(known))
        if (std::ranges::find(result, word) == result.end())
            result.push_back(std::move(word));
    return result;
}

// A request with an acceptable value for every key there is.
json_owner everything(size_t round) {
    json_owner result(json_object_new_object());
    for (const vocabulary::key &each : vocabulary::keys()) {
        if (each.kind != vocabulary::kind::text)
            continue;
        const std::vector<std::string> samples = samples_of(each);
        json_object_object_add(result.get(), each.name,
                               json_object_new_string(samples[round % samples.size()].c_str()));
    }
    return result;
}

std::string list_of(const std::vector<std::string> &paths) {
    std::string result;
    for (const std::string &each : paths)
        result += (result.empty() ? "" : " and ") + each;
    return result;
}

// A device on which pushes are tried.
class bench {
public:
    bench(rehearsal &stage, const snapshot &device) : stage_(stage), push_(find_route(push_route)) {
        stage_.set_device(device);
        const json_owner nothing(json_object_new_object());
        stage_.play(push_.handler, nothing.get()); // commits what is recorded
        stage_mark();
    }

    configuration &options() { return stage_.options(); }

    // What one push after another changes in all; the repeater is down unless it is to stay as it is.
    changes after(std::initializer_list<json_object *> pushes, bool repeater_down = true) {
        variation other;
        other.repeater_down = repeater_down;
        bool first = true;
        for (json_object *each : pushes) {
            first ? stage_.play(push_.handler, each, other) : stage_.play_on(push_.handler, each);
            first = false;
        }
        return options().committed_changes();
    }

    bool is_quiet(json_object *request) {
        return after({request}, false).empty() && after({request}).empty();
    }

    // The keys that have a row on this device, in the order of their first rows.
    std::vector<setting> settings() {
        const json_owner all = everything(0);
        after({all.get()});
        const std::vector<const batch_entry *> rows = options().rows_read();
        std::vector<setting> result;
        for (const batch_entry *row : rows) {
            const vocabulary::key *known = vocabulary::find_key(row->json_key);
            if (known == nullptr)
                continue;
            auto own = std::ranges::find(result, row->json_key, &setting::key);
            if (own == result.end())
                own = result.insert(result.end(), {row->json_key, {}, samples_of(*known)});
            if (std::ranges::find(own->paths, row->uci_path) == own->paths.end())
                own->paths.emplace_back(row->uci_path);
        }
        stage_put_back();
        return result;
    }

private:
    rehearsal &stage_;
    const route push_;
};

// Whether the value brings the device back after every other one of the key; false too when none changes
// anything.
bool brings_back(bench &tried, const setting &each, const std::string &value) {
    const json_owner back = object_of(each.key, value);
    bool changes_something = false;
    for (const std::string &sample : each.samples) {
        const json_owner away = object_of(each.key, sample);
        if (tried.after({away.get()}).empty())
            continue;
        changes_something = true;
        if (!tried.after({away.get(), back.get()}).empty())
            return false;
    }
    return changes_something;
}

// The value to be sent for the key; nothing when there is none.
std::optional<std::string> value_for(bench &tried, const setting &each) {
    stage_put_back();
    const std::optional<std::string> stored = tried.options().value(each.paths.front());
    std::vector<std::string> candidates{stored.value_or("")};
    if (stored) // the last word first: of several levels with one power, the lowest depends least on the
                // maximum
        for (const std::string &word : words_of(*vocabulary::find_key(each.key)))
            candidates.insert(candidates.begin() + 1, word);
    for (const std::string &path : each.paths)
        if (tried.options().is_list(path))
            return std::nullopt;
    for (const std::string &candidate : candidates)
        if (apid::is_utf8(candidate) && tried.is_quiet(object_of(each.key, candidate).get()) &&
            brings_back(tried, each, candidate))
            return candidate;
    return std::nullopt;
}

// Takes out what changes something only together with other members.
void quieten(bench &tried, json_object *batch, const std::vector<setting> &settings) {
    for (const setting &each : settings) {
        if (tried.is_quiet(batch))
            return;
        json_object *member = nullptr;
        if (!json_object_object_get_ex(batch, each.key.c_str(), &member))
            continue;
        const size_t before = tried.after({batch}).size() + tried.after({batch}, false).size();
        json_object_get(member);
        json_object_object_del(batch, each.key.c_str());
        if (tried.after({batch}).size() + tried.after({batch}, false).size() >= before)
            json_object_object_add(batch, each.key.c_str(), member);
        else
            json_object_put(member);
    }
}

// --- What is lost --------------------------------------------------------------------------------

class losses {
public:
    losses(bench &tried, json_object *batch) : tried_(tried), batch_(batch) {}

    // Notes what a change leaves behind although the batch is pushed after it. key: of a single change.
    void note(json_object *change, const std::string &key) {
        const changes left = tried_.after({change, batch_});
        if (left.empty())
            return;
        const changes later = tried_.after({change, batch_, batch_});
        for (const option_change &each : left) {
            const std::string name = tried_.options().resolve(each.path);
            if (known_.emplace(name, found_.size()).second)
                found_.push_back({each.path, key, ""});
            const bool for_good = std::ranges::find(later, each.path, &option_change::path) != later.end();
            for_good_[name] = for_good_[name] || for_good;
        }
    }

    std::vector<lost_option> &found() { return found_; }
    bool is_for_good(const std::string &path) { return for_good_[tried_.options().resolve(path)]; }

private:
    bench &tried_;
    json_object *batch_;
    std::vector<lost_option> found_;
    std::map<std::string, size_t> known_; // by the option's own name
    std::map<std::string, bool> for_good_;
};

// Why no value of the key can be sent.
class explanation {
public:
    explanation(rehearsal &stage, const snapshot &device) : stage_(stage), device_(device) {}

    std::string why(const setting &each) {
        const std::string &path = each.paths.front();
        std::optional<std::string> stored;
        {
            bench tried(stage_, device_);
            stored = tried.options().value(path);
            for (const std::string &own : each.paths)
                if (tried.options().is_list(own))
                    return "it is a list here, and a push stores one value";
            for (const std::string &own : each.paths)
                if (tried.options().value(own) != stored)
                    return each.key + " is one key for " + list_of(each.paths) + ", which differ here";
        }
        if (!stored)
            return "it is not set here, and no push takes it away again";
        if (!apid::is_utf8(*stored))
            return "its value is no UTF-8 text, which JSON cannot hold";
        return why_not_sent(each, path, *stored);
    }

private:
    std::string why_not_sent(const setting &each, const std::string &path, const std::string &stored) {
        const json_owner request = object_of(each.key, stored);
        const request_plan made = make_plan(stage_, device_, find_route(push_route), request.get());
        if (!made.keys.empty() && is_finding(made.keys.front().outcome))
            return "its value cannot be pushed: " + made.keys.front().message;
        std::vector<std::string> also;
        for (const option_change &change : made.changes)
            if (change.path == path)
                return "a push stores something else than was sent";
            else
                also.push_back(change.path);
        return also.empty() ? "a push of it does not bring it back"
                            : "a push of it would also change " + list_of(also);
    }

    rehearsal &stage_;
    const snapshot &device_;
};

std::vector<lost_option> lost_after(rehearsal &stage, const snapshot &device,
                                    const std::vector<setting> &settings, json_object *batch) {
    bench tried(stage, device);
    losses lost(tried, batch);
    size_t rounds = 0;
    for (const setting &each : settings) {
        rounds = std::max(rounds, each.samples.size());
        for (const std::string &sample : each.samples)
            lost.note(object_of(each.key, sample).get(), each.key);
    }
    for (size_t round = 0; round < rounds; ++round)
        lost.note(everything(round).get(), "");
    std::vector<lost_option> result = lost.found();
    std::vector<bool> for_good;
    for (const lost_option &each : result)
        for_good.push_back(lost.is_for_good(each.path));
    explanation reasons(stage, device);
    for (size_t i = 0; i < result.size(); ++i) {
        lost_option &each = result[i];
        const auto owner = std::ranges::find_if(settings, [&](const setting &candidate) {
            return candidate.key == each.key ||
                   (each.key.empty() &&
                    std::ranges::find(candidate.paths, each.path) != candidate.paths.end());
        });
        if (!for_good[i])
            each.why = "what it is computed from is set later in the same push: push the batch twice";
        else if (owner == settings.end())
            each.why = "it depends on several keys";
        else
            each.why = (std::ranges::find(owner->paths, each.path) == owner->paths.end()
                            ? "it changes with " + owner->key + ": "
                            : "") +
                       reasons.why(*owner);
        if (each.key.empty() && owner != settings.end())
            each.key = owner->key;
    }
    return result;
}

// The keys of some models change bands when the settings are read in full for the first time.
std::vector<std::string> notes_on(rehearsal &stage, const snapshot &device,
                                  const std::vector<setting> &settings) {
    snapshot other = device;
    other.full_read_done = !device.full_read_done;
    const std::vector<setting> swapped = bench(stage, other).settings();
    const bool same = std::ranges::equal(settings, swapped, [](const setting &one, const setting &two) {
        return one.key == two.key && one.paths == two.paths;
    });
    if (same)
        return {};
    return {bands_note("this batch", device)};
}

} // namespace

settings_export export_settings(rehearsal &stage, const snapshot &device) {
    settings_export result;
    result.batch.reset(json_object_new_object());
    std::vector<setting> settings;
    {
        bench tried(stage, device);
        settings = tried.settings();
        for (const setting &each : settings)
            if (const std::optional<std::string> value = value_for(tried, each))
                json_object_object_add(result.batch.get(), each.key.c_str(),
                                       json_object_new_string(value->c_str()));
        quieten(tried, result.batch.get(), settings);
    }
    result.lost = lost_after(stage, device, settings, result.batch.get());
    result.notes = notes_on(stage, device, settings);
    return result;
}

std::string batch_as_text(const settings_export &made) {
    return std::string(json_object_to_json_string_ext(made.batch.get(), JSON_C_TO_STRING_PRETTY |
                                                                            JSON_C_TO_STRING_SPACED |
                                                                            JSON_C_TO_STRING_NOSLASHESCAPE)) +
           "\n";
}

std::string lost_as_text(const settings_export &made) {
    std::string result;
    if (!made.lost.empty())
        result += "Not restored by this batch:\n";
    for (const lost_option &each : made.lost)
        result += "  " + each.path + ": " + each.why + "\n";
    for (const std::string &note : made.notes)
        result += "Note: " + note + ".\n";
    return result;
}

std::string to_json(const settings_export &made, const snapshot &device) {
    std::string out = "{";
    if (!device.id.empty())
        out += "\"id\": " + device.id + ", ";
    out += "\"model\": ";
    append_json(out, device.model);
    out += ", \"batch\": ";
    out += json_object_to_json_string_ext(made.batch.get(),
                                          JSON_C_TO_STRING_SPACED | JSON_C_TO_STRING_NOSLASHESCAPE);
    out += ", \"lost\": [";
    for (const lost_option &each : made.lost) {
        out += &each == made.lost.data() ? "" : ", ";
        for (const auto &[name, text] : {std::pair{"{\"path\": ", &each.path},
                                         {", \"key\": ", &each.key},
                                         {", \"reason\": ", &each.why}}) {
            out += name;
            append_json(out, *text);
        }
        out += "}";
    }
    out += "], \"notes\": [";
    for (const std::string &note : made.notes) {
        out += &note == made.notes.data() ? "" : ", ";
        append_json(out, note);
    }
    return out + "]}\n";
}

} // namespace plan
