// SPDX-License-Identifier: Apache-2.0
// What differs between two states of a package.
#include "tools/plan/comparison.h"

#include <utility>

namespace plan {

namespace {

// "name", or "@type[n]" for a section that has none of its own.
std::string shown_name(const uci::package &content, const uci::section &shown) {
    if (!shown.anonymous)
        return shown.name;
    size_t place = 0;
    for (const uci::section &each : content.sections) {
        if (&each == &shown)
            break;
        place += each.type == shown.type ? 1 : 0;
    }
    return "@" + shown.type + "[" + std::to_string(place) + "]";
}

std::optional<std::string> value_of(const uci::section *section, const std::string &option) {
    const auto *found = section == nullptr ? nullptr : const_cast<uci::section *>(section)->find(option);
    return found == nullptr ? std::nullopt : std::optional(joined_values(*found));
}

const uci::section *named(const uci::package *content, const std::string &name) {
    return content == nullptr ? nullptr : const_cast<uci::package *>(content)->find(name);
}

// Collects what differs between two states of a package.
class comparison {
public:
    comparison(const uci::package *before, const uci::package *after,
               const std::map<std::string, std::string> &written, std::vector<option_change> &out)
        : before_(before), after_(after), written_(written), out_(out) {}

    void run() {
        if (before_ != nullptr)
            for (const uci::section &each : before_->sections)
                compare(*before_, &each, named(after_, each.name));
        if (after_ != nullptr)
            for (const uci::section &each : after_->sections)
                if (named(before_, each.name) == nullptr)
                    compare(*after_, nullptr, &each);
    }

private:
    void add(const std::string &path, const std::string &shown, std::optional<std::string> from,
             std::optional<std::string> to) {
        if (from == to)
            return;
        const auto known = written_.find(path);
        out_.push_back(
            {known != written_.end() ? known->second : shown, std::move(from), std::move(to), "", false});
    }

    void compare(const uci::package &owner, const uci::section *from, const uci::section *to) {
        const uci::section &any = from != nullptr ? *from : *to;
        const std::string own = owner.name + "." + any.name;
        const std::string shown = owner.name + "." + shown_name(owner, any);
        add(own, shown, from == nullptr ? std::nullopt : std::optional(from->type),
            to == nullptr ? std::nullopt : std::optional(to->type));
        if (from != nullptr)
            for (const uci::option &each : from->options)
                add(own + "." + each.name, shown + "." + each.name, joined_values(each),
                    value_of(to, each.name));
        if (to != nullptr)
            for (const uci::option &each : to->options)
                if (!value_of(from, each.name))
                    add(own + "." + each.name, shown + "." + each.name, std::nullopt, joined_values(each));
    }

    const uci::package *before_;
    const uci::package *after_;
    const std::map<std::string, std::string> &written_;
    std::vector<option_change> &out_;
};

} // namespace

std::string joined_values(const uci::option &option) {
    std::string text;
    for (const std::string &each : option.values)
        text += (&each == option.values.data() ? "" : " ") + each;
    return text;
}

void compare(const uci::package *before, const uci::package *after,
             const std::map<std::string, std::string> &written, std::vector<option_change> &out) {
    comparison(before, after, written, out).run();
}

} // namespace plan
