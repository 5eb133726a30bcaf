// SPDX-License-Identifier: Apache-2.0
// Plans as JSON.
#include "tools/plan/json.h"
#include "tools/plan/plan.h"
#include "tools/plan/plan_text.h"

#include <array>

namespace plan {

namespace {

// One object or array while it is written.
class writer {
public:
    writer(std::string &out, char open, char close) : out_(out), close_(close) { out_ += open; }
    ~writer() { out_ += close_; }
    writer(const writer &) = delete;
    writer &operator=(const writer &) = delete;

    std::string &item() {
        out_ += first_ ? "" : ", ";
        first_ = false;
        return out_;
    }
    std::string &member(std::string_view name) {
        append_json(item(), name);
        return out_ += ": ";
    }
    void text(std::string_view name, std::string_view value) { append_json(member(name), value); }
    void number(std::string_view name, int value) { member(name) += std::to_string(value); }
    void flag(std::string_view name, bool value) {
        if (value)
            member(name) += "true";
    }
    void text_or_null(std::string_view name, const std::optional<std::string> &value) {
        if (value)
            text(name, *value);
        else
            member(name) += "null";
    }

private:
    std::string &out_;
    char close_;
    bool first_ = true;
};

template <typename Items, typename Write>
void list(std::string &out, const Items &items, Write write) {
    writer array(out, '[', ']');
    for (const auto &each : items)
        write(array.item(), each);
}

void write_key_members(writer &object, const key_outcome &each) {
    object.text("key", each.key);
    object.text("outcome", to_text(each.outcome));
    if (each.reason != reason::none)
        object.text("reason", to_text(each.reason));
    if (!each.message.empty())
        object.text("message", each.message);
    if (!each.suggestion.empty())
        object.text("suggestion", each.suggestion);
}

void write_key(std::string &out, const key_outcome &each) {
    writer object(out, '{', '}');
    write_key_members(object, each);
}

void write_change(std::string &out, const option_change &each) {
    writer object(out, '{', '}');
    object.text("path", each.path);
    object.text_or_null("from", each.from);
    object.text_or_null("to", each.to);
    object.flag("unforeseen", each.unforeseen);
}

// What the subject of a kind is called; nothing for a kind without.
const char *subject_name(stage_kind kind) {
    switch (kind) {
    case stage_log:
        return "message";
    case stage_commit:
        return "package";
    case stage_system:
    case stage_exec:
    case stage_fork:
    case stage_line:
    case stage_ucireturn:
    case stage_popen:
        return "command";
    case stage_iwpriv:
        return "interface";
    case stage_sync:
    case stage_sleep:
        return nullptr;
    default:
        return "path";
    }
}

void write_effect(std::string &out, const effect &each) {
    writer object(out, '{', '}');
    object.text("kind", stage_kind_name(each.kind));
    if (const char *name = subject_name(each.kind))
        object.text(name, each.subject);
    if (each.kind == stage_log)
        object.text("priority", stage_priority_name(each.number));
    if (each.kind == stage_sleep)
        object.number("seconds", each.number);
    if (each.kind == stage_iwpriv)
        object.text("parameter", each.parameter);
    if (each.kind == stage_set || each.kind == stage_iwpriv)
        object.text("value", each.value);
    if (each.kind == stage_write)
        object.text("content", each.value);
    if (!each.key.empty())
        object.text("key", each.key);
    object.flag("failed", !each.done);
    object.flag("unforeseen", each.unforeseen);
}

} // namespace

std::string findings_as_json(const request_plan &made) {
    std::string out;
    for (const key_outcome &each : made.keys) {
        if (!is_finding(each.outcome))
            continue;
        {
            writer object(out, '{', '}');
            if (!made.id.empty())
                object.member("id") += made.id;
            object.text("model", made.model);
            object.text("route", made.route);
            write_key_members(object, each);
        }
        out += "\n";
    }
    return out;
}

std::string to_json(const request_plan &made) {
    std::string out;
    {
        writer object(out, '{', '}');
        if (!made.id.empty())
            object.member("id") += made.id;
        object.text("model", made.model);
        object.text("route", made.route);
        object.number("result", made.result);
        object.member("response") += made.response;
        list(object.member("keys"), made.keys, write_key);
        list(object.member("changes"), made.changes, write_change);
        list(object.member("effects"), made.effects, write_effect);
        object.text("then", made.then);
        object.number("seconds", made.seconds);
        object.number("radios_on", made.radios_on);
        if (!made.uncommitted.empty())
            list(object.member("uncommitted"), made.uncommitted, write_change);
        if (!made.notes.empty())
            list(object.member("notes"), made.notes,
                 [](std::string &text, const std::string &note) { append_json(text, note); });
    }
    return out;
}

} // namespace plan
