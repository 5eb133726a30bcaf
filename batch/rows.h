// SPDX-License-Identifier: Apache-2.0
// How a request is applied: one walk over a table's rows. What differs between devices stands in a `rule_set`
// as data and small named rules. The walk asks for no key, and for the model only where a rule names models.
#pragma once

#include "batch/names.h"
#include "plugin/aerolink.h"
#include "plugin/uci.h"

#include <span>

// A request's value of this many characters or more is refused whole (decision 11).
inline constexpr size_t value_limit = 512;

struct rule_set;

// A row that the request has a value for. Rules see only values that are shorter than value_limit.
struct row_step {
    const rule_set *rules;
    zuci2_context *ctx;
    json_object *out;
    const char *model;
    const batch_entry *row;
    const char *interface; // of the key_rule that runs now
};

// Applies its part of a row. False: the value does not fit what it is meant for, and the row ends, refused.
using row_rule = bool (*)(const row_step &step);

// A rule for the rows of one key.
struct key_rule {
    const char *key;
    row_rule apply;
    const char *interface = nullptr; // the section of an interface, for rules that set more of it
};

// Rules by key: those of a rule set's own come before those that it shares with others.
struct key_rules {
    std::span<const key_rule> own;
    std::span<const key_rule> shared;
};

// One write of a bandwidth rule: a path (null: the row's own) and a value, fixed or made from the request's.
struct bandwidth_write {
    const char *path;
    const char *fixed;
    const char *(*made)(const char *htmode);
};

// What a bandwidth key sets on a model. The first rule that matches wins.
struct bandwidth_rule {
    const char *key;
    name_list models; // empty: any model
    std::span<const bandwidth_write> writes;
};

// A key that is written, unchecked, while its option holds nothing yet (decision 12).
struct first_time_key {
    const char *key;
    name_list models; // empty: any model
};

// The phases of a row:
//
//   always            the rule of the row's key, whatever the option holds;
//   then, by what the option holds
//   - nothing:        the value is written when `first_time` lists the key,
//   - a value:        `checked` when the row has a pattern,
//                     else the rule of the key in `stored`, else `otherwise`;
//   written_anyway    the value is written (once more) when this lists the key.
//
// Where there is no rule, nothing happens. A value that does not fit goes to `refuse` and ends the row.
struct rule_set {
    std::span<batch_entry> table;
    bool own_context; // applied on a context of its own and then committed; else on the caller's, uncommitted
    std::span<const bandwidth_rule> bandwidth;
    key_rules always;
    std::span<const first_time_key> first_time;
    row_rule checked;
    key_rules stored;
    row_rule otherwise;
    name_list written_anyway;
    void (*refuse)(const row_step &step);
    // By contract the model is asked from the platform anew for every row that depends on it.
    bool model_anew = false;
};

// Applies the request to the rule set's table; always 0. ctx is for rule sets without a context of their own.
int apply(const rule_set &rules, json_object *in, json_object *out, zuci2_context *ctx, const char *model);

// The same for a rule set with a context of its own, on the model that the platform names.
int apply(const rule_set &rules, json_object *in, json_object *out);

// --- Rules that several rule sets share -----------------------------------------------------------

bool write_row(const row_step &step);
bool write_unless_repeater(const row_step &step);

// "network.lan.ipaddr" and the address that the router's own name resolves to.
bool write_lan_ip(const row_step &step);

// Writes the guest network's address and logs it.
bool write_guest_lan_ip(const row_step &step);

// Applies the bandwidth rule of the key, but never while the repeater uplink is up.
bool set_bandwidth(const row_step &step);

// Sets the zone's name and POSIX rule, in UCI and in "/tmp/TZ".
bool set_time_zone(const row_step &step);
bool set_time_zone_and_commit(const row_step &step);

bool set_txpower(const row_step &step);
bool set_password(const row_step &step);

// For a key that another phase has dealt with.
bool leave_alone(const row_step &step);

// Writes a value that matches the row's pattern, and answers "set false" for any other.
bool write_when_valid(const row_step &step);

// The parts of write_when_valid: whether a text matches the row's pattern, and the write of a valid value.
bool is_valid(const row_step &step, const char *text);
bool write_valid(const row_step &step);

// Two ways to refuse a value: in the response, or in the system log alone.
void answer_set_false(const row_step &step);
void log_refusal(const row_step &step);
