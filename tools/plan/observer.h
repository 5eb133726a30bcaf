// SPDX-License-Identifier: Apache-2.0
// What a request itself shows of its keys.
#pragma once

#include "tools/plan/inquiry.h"

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace plan {

// A row of a plan.
key_outcome row_of(std::string key, outcome what, reason why = reason::none, std::string message = "",
                   std::string suggestion = "");

class observer {
public:
    // To be made before anything is asked.
    explicit observer(inquiry &asked);

    // The outcome of a key whose row had effects; nothing when it had none.
    std::optional<key_outcome> by_row(const std::string &key) const;

    // What these effects of the request come to, by the best of them; nothing when there is none.
    std::optional<outcome> best(const std::vector<const effect *> &effects) const;

private:
    const std::string &option_of(const effect &each) const;
    const effect *undone_by(const effect &each) const;

    const request_plan &made_;
    std::set<std::string> changed_;    // the options that end with another value
    std::vector<std::string> options_; // of the effects, by place; "" for what is no write
};

// As is_intended of an effect of the stage.
bool is_intended(const effect &each);

} // namespace plan
