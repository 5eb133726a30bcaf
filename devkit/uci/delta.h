// SPDX-License-Identifier: Apache-2.0
// Changes to a package, and the lines of the delta file that holds them until a commit.
#pragma once

#include "devkit/uci/package.h"
#include "devkit/uci/path.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace uci {

enum class action {
    set,         // an option, or a section's type; creates either
    add,         // an anonymous section: value is its type
    remove,      // an option, a section, or with a value the list item of that number from 0
    list_add,    // value at the end of the list
    list_remove, // every item equal to value
    rename,      // value is the new name
    reorder,     // value is the section's new place, from 0; a negative one is the last
};

struct change {
    action kind;
    std::string section;
    std::string option; // empty: the section itself
    std::optional<std::string> value;
};

// Makes the change. False when the package was like that already; throws uci::error when it cannot be made.
bool apply(package &target, const change &wanted);

// Makes the change that a request asks for: the section may be a selector, and setting the empty value
// removes. What was made, with the section's own name; nothing when the package was like that already. Throws
// uci::error.
std::optional<change> make(package &target, action kind, const path &where);

// The change that a path names, with the section's own name in place of a selector.
change resolve(package &content, action kind, const path &where);

// Whether there is such a section, or such an option where the path names one.
bool exists(package &content, const path &where);

// The delta line with its line end.
std::string to_line(std::string_view package_name, const change &made);

// A commit writes this line behind the changes that it takes: a comment, which says nothing to who does not
// know it, with the identity of the file that it is about to put in place. Should it be killed before it has
// emptied the delta, whoever comes next knows whether these changes are in the file already.
struct mark {
    std::string identity;
    size_t changes; // how many come before it
};
std::string to_mark(const std::string &identity);

// Only its line end shows that a line is whole: the beginning of a line can mean something else.
struct delta {
    std::vector<change> changes; // lines that say nothing or belong to another package are left out
    size_t whole; // the length of the text before a line that was torn off while it was written
    std::vector<mark> marks;
};
delta parse_delta(std::string_view package_name, std::string_view text);

} // namespace uci
