// SPDX-License-Identifier: Apache-2.0
// Why nothing comes of a key, found out by asking.
#pragma once

#include "tools/plan/inquiry.h"

#include <string>
#include <vector>

namespace plan {

// An acceptable value of the key other than this one; null when the key is in no vocabulary.
json_owner acceptable(const std::string &key, json_object *given);

// Another value would have had an effect: which is wrong with this one? good: an acceptable one.
key_outcome refused(inquiry &asked, const std::string &key, json_object *given, json_object *good);

// The keys of which something would come if all of these had acceptable values: one play instead of one for
// each.
std::vector<std::string> acceptable_together(inquiry &asked, const std::vector<std::string> &keys);

// The route has looked at the key, and nothing came of it. surely: keys of which it is known that another
// value would have an effect.
key_outcome silent(inquiry &asked, const std::string &key, json_object *given,
                   const std::vector<std::string> &surely);

} // namespace plan
