// SPDX-License-Identifier: Apache-2.0
// Plans to be read at a glance.
#include "tools/plan/plan_text.h"

#include "devkit/apid/text.h"
#include "tools/plan/blocks.h"
#include "tools/plan/json.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/ioctl.h>
#include <unistd.h>

namespace plan {

namespace {

constexpr size_t label_width = 10;
constexpr size_t longest_shown = 40;    // bytes of a value,
constexpr size_t longest_command = 200; // of a command

// A request's and a device's texts must not move the cursor.
std::string shown(std::string_view text) {
    std::string out;
    for (size_t at = 0; at < text.size();) {
        const size_t length = apid::utf8_character(text.substr(at));
        const auto c = static_cast<unsigned char>(text[at]);
        const bool is_control = c < 0x20 || c == 0x7f || length == 0 ||
                                (length == 2 && c == 0xc2 && static_cast<unsigned char>(text[at + 1]) < 0xa0);
        if (is_control) {
            std::array<char, 5> code{};
            std::snprintf(code.data(), code.size(), "\\x%02x", static_cast<unsigned>(c));
            out += code.data();
            ++at;
        } else {
            out.append(text, at, length);
            at += length;
        }
    }
    return out;
}

// A digest, or a text that somebody has made to fill the screen; the JSON has all of it.
std::string cut(const std::string &text, size_t longest) {
    if (text.size() <= longest)
        return text;
    size_t end = longest - 3;
    while (end > longest - 6 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80)
        --end;
    return text.substr(0, end) + "...";
}

std::string quoted(const std::optional<std::string> &value) {
    return value ? "'" + shown(cut(*value, longest_shown)) + "'" : "(none)";
}

// A member's name, in quotes where it is none that could stand in a sentence.
std::string shown_key(const std::string &key) {
    const bool plain = !key.empty() && std::ranges::all_of(key, [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '_' || c == '-' || c == '.';
    });
    return plain ? key : "\"" + shown(cut(key, longest_shown)) + "\"";
}

class page {
public:
    explicit page(const text_style &style) : style_(style) {}

    std::string take() { return std::move(out_); }

    void heading(const std::string &text) {
        if (!out_.empty())
            out_ += "\n";
        out_ += paint("1", text) + "\n";
    }
    // colour: as terminals number it, "" for none.
    void line(const char *colour, const std::string &label, const std::string &text) {
        out_ += "  " + paint(colour, label) +
                std::string(label.size() < label_width ? label_width - label.size() : 1, ' ') + text + "\n";
    }
    void plain(const std::string &text) { out_ += text + "\n"; }

    std::string paint(const std::string &colour, const std::string &text) const {
        return style_.colour && !colour.empty() ? "\033[" + colour + "m" + text + "\033[0m" : text;
    }
    size_t width() const { return style_.width; }

private:
    text_style style_;
    std::string out_;
};

// "ap-17 (heron)", or the model alone.
std::string name_of(const request_plan &made) {
    if (made.id.empty())
        return shown(made.model);
    const json_owner id = parse_json(made.id, json_use::device);
    const bool is_text = json_object_is_type(id.get(), json_type_string);
    return shown(is_text ? text_of(id.get()) : made.id) + " (" + shown(made.model) + ")";
}

// The names side by side, in lines that fit.
std::string names_of(const std::vector<const request_plan *> &plans, size_t width) {
    std::string text;
    size_t column = 0;
    for (const request_plan *each : plans) {
        const std::string name = name_of(*each) + (each == plans.back() ? "" : ",");
        if (column > 0 && column + 1 + name.size() > width) {
            text += "\n";
            column = 0;
        }
        text += (column > 0 ? " " : "") + name;
        column += name.size() + (column > 0 ? 1 : 0);
    }
    return text;
}

const char *colour_of(outcome value) {
    switch (value) {
    case outcome::refused:
        return "31";
    case outcome::ignored:
        return "33";
    case outcome::unknown:
        return "35";
    default:
        return "";
    }
}

std::string sentence_of(const key_outcome &each) {
    std::string text = shown_key(each.key) + ": " + shown(each.message);
    if (!each.suggestion.empty())
        text += "; did you mean " + each.suggestion + "?";
    return text;
}

// Models name their options differently, so that the sentence about an empty one may differ within a block.
std::string sentence_in(const block &shown_block, size_t number) {
    const key_outcome &own = shown_block.first().keys[number];
    for (const request_plan *each : shown_block.plans)
        if (each->keys[number].message != own.message)
            return shown_key(own.key) + ": the option holds nothing yet";
    return sentence_of(own);
}

void add_findings(page &out, const block &shown_block) {
    const std::vector<key_outcome> &keys = shown_block.first().keys;
    for (const outcome kind : {outcome::refused, outcome::ignored, outcome::unknown})
        for (size_t i = 0; i < keys.size(); ++i)
            if (keys[i].outcome == kind)
                out.line(colour_of(kind), to_text(kind), sentence_in(shown_block, i));
    for (const key_outcome &each : keys)
        if (!is_finding(each.outcome) && !each.message.empty())
            out.line("33", "note", sentence_of(each));
}

// Which models of the block these are, in the fewer names; "" when they are all.
std::string models_of(const std::vector<const request_plan *> &plans, const block &shown_block) {
    std::vector<const request_plan *> others;
    for (const request_plan *made : shown_block.plans)
        if (std::ranges::find(plans, made) == plans.end())
            others.push_back(made);
    if (others.empty())
        return "";
    return others.size() < plans.size() ? "  (not " + names_of(others, SIZE_MAX) + ")"
                                        : "  (" + names_of(plans, SIZE_MAX) + ")";
}

std::string new_value_of(const block_change &each) {
    if (each.unforeseen)
        return "(a digest that depends on the service code)";
    return each.same_to ? quoted(each.to) : "(differs)";
}

std::string sentence_of(const block_change &each, const block &shown_block) {
    return each.path() + ": " + (each.same_from ? quoted(each.from) : "(differs)") + " -> " +
           new_value_of(each) + models_of(each.plans, shown_block);
}

void add_changes(page &out, const block &shown_block) {
    for (const block_change &each : changes_of(shown_block, &request_plan::changes))
        out.line("32", "change", sentence_of(each, shown_block));
    std::string same;
    for (const key_outcome &each : shown_block.first().keys)
        if (each.outcome == outcome::same)
            same += (same.empty() ? "" : ", ") + shown_key(each.key);
    if (!same.empty())
        out.line("", "same", same);
    for (const block_change &each : changes_of(shown_block, &request_plan::uncommitted))
        out.line("33", "unsaved", sentence_of(each, shown_block));
}

void add_commands(page &out, const block &shown_block) {
    for (const block_deed &each : deeds_of(shown_block))
        out.line("36", "run", shown(cut(each.text, longest_command)) + models_of(each.plans, shown_block));
}

const char *end_in_words(std::string_view then) {
    if (then == "reboot")
        return "the router reboots";
    if (then == "restart")
        return "the network restarts";
    return then == "notify" ? "the cloud client is notified" : "nothing more";
}

void add_end(page &out, const block &shown_block) {
    const request_plan &made = shown_block.first();
    out.line("1", "then", end_in_words(made.then));
    const std::string when = made.seconds > 0 ? ", after " + std::to_string(made.seconds) + " s" : "";
    out.line("", "answer", std::to_string(made.result) + " " + shown(made.response) + when);
    for (const std::string &note : made.notes)
        out.line("33", "note", shown(note));
}

// What is to be said of a request without a member.
std::string sum_of_nothing(const request_plan &made) {
    if (!made.reads)
        return "nothing was asked for";
    const json_owner answer = parse_json(made.response, json_use::device);
    const int members =
        json_object_is_type(answer.get(), json_type_object) ? json_object_object_length(answer.get()) : 0;
    return "a read, answered with " + std::to_string(members) + " members";
}

// "3 keys: 2 changed, 1 refused"
std::string counts_of(const request_plan &made) {
    std::array<size_t, 6> counts{};
    for (const key_outcome &each : made.keys)
        ++counts.at(static_cast<size_t>(each.outcome));
    std::string text = std::to_string(made.keys.size()) + (made.keys.size() == 1 ? " key" : " keys");
    const char *separator = ": ";
    for (size_t i = 0; i < counts.size(); ++i) {
        if (counts.at(i) == 0)
            continue;
        text += separator + std::to_string(counts.at(i)) + " " + to_text(static_cast<outcome>(i));
        separator = ", ";
    }
    return text;
}

// Of a request of which every key is taken on every model.
std::string sum_without_findings(const std::vector<request_plan> &made) {
    const auto is_same = [](const key_outcome &each) { return each.outcome == outcome::same; };
    const auto all_same = [&](const request_plan &each) { return std::ranges::all_of(each.keys, is_same); };
    const auto any_same = [&](const request_plan &each) { return std::ranges::any_of(each.keys, is_same); };
    if (std::ranges::all_of(made, all_same))
        return "every option had its value on each";
    return std::ranges::any_of(made, any_same)
               ? "every key has an effect on each, or its option had the value"
               : "every key has an effect on each";
}

// "23 models: lan_ip has no effect on 17 of them, password on 23"
std::string sum_of(const std::vector<request_plan> &made) {
    if (made.size() == 1)
        return made.front().keys.empty() ? sum_of_nothing(made.front()) : counts_of(made.front());
    const std::string models = std::to_string(made.size()) + " models: ";
    if (made.front().keys.empty())
        return models + (made.front().reads ? "a read" : sum_of_nothing(made.front()));
    std::string text;
    for (size_t i = 0; i < made.front().keys.size(); ++i) {
        const auto count = std::ranges::count_if(
            made, [&](const request_plan &each) { return is_finding(each.keys[i].outcome); });
        if (count > 0)
            text += (text.empty() ? "" : ", ") + shown_key(made.front().keys[i].key) +
                    (text.empty() ? " has no effect on " : " on ") + std::to_string(count) +
                    (text.empty() ? " of them" : "");
    }
    return models + (text.empty() ? sum_without_findings(made) : text);
}

} // namespace

text_style style_of_output() {
    text_style style;
    const char *no_colour = std::getenv("NO_COLOR");
    const char *terminal = std::getenv("TERM");
    style.colour = isatty(STDOUT_FILENO) == 1 && (no_colour == nullptr || *no_colour == '\0') &&
                   (terminal == nullptr || std::strcmp(terminal, "dumb") != 0);
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        style.width = size.ws_col;
    return style;
}

std::string to_text(const std::vector<request_plan> &made, const text_style &style) {
    page out(style);
    for (const block &each : blocks_of(made)) {
        out.heading(names_of(each.plans, out.width()));
        add_findings(out, each);
        add_changes(out, each);
        add_commands(out, each);
        add_end(out, each);
    }
    out.plain("");
    out.plain(sum_of(made));
    return out.take();
}

std::string findings_of(const request_plan &made) {
    std::string text;
    const std::string name = name_of(made);
    for (const key_outcome &each : made.keys) {
        if (!is_finding(each.outcome))
            continue;
        text += name + ": " + shown_key(each.key) + ": " + to_text(each.outcome) + ": " +
                shown(each.message) +
                (each.suggestion.empty() ? "" : "; did you mean " + each.suggestion + "?") + "\n";
    }
    return text;
}

} // namespace plan
