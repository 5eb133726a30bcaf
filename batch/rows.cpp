// SPDX-License-Identifier: Apache-2.0
// The walk over a table's rows and the rules that several rule sets share.
#include "batch/rows.h"

#include "platform/zuutil.h"
#include "platform/zuwificore.h"
#include "plugin/command.h"
#include "plugin/log.h"
#include "plugin/text.h"

#include <cstring>

namespace {

constexpr size_t option_size = 512;
constexpr size_t time_zone_command_size = 300;
constexpr size_t time_zone_size = 128;

bool is_for(const name_list &models, const row_step &step) {
    return models.empty() || lists(models, step.rules->model_anew ? get_model_name() : step.model);
}

const key_rule *find_rule(const key_rules &rules, const char *key) {
    for (const std::span<const key_rule> &list : {rules.own, rules.shared})
        for (const key_rule &rule : list)
            if (equal(key, rule.key))
                return &rule;
    return nullptr;
}

// Runs the rule of the row's key, or else `otherwise`; nothing when both are missing.
bool run_rule(const key_rules &rules, row_rule otherwise, row_step &step) {
    const key_rule *found = find_rule(rules, step.row->json_key);
    step.interface = found ? found->interface : nullptr;
    const row_rule chosen = found ? found->apply : otherwise;
    return !chosen || chosen(step);
}

bool write_first_time(const row_step &step) {
    for (const first_time_key &candidate : step.rules->first_time)
        if (equal(step.row->json_key, candidate.key) && is_for(candidate.models, step))
            return write_row(step);
    return true;
}

// Decides by what the option holds whether and how the row is written.
bool decide_write(row_step &step, const char *current) {
    const rule_set &rules = *step.rules;
    if (current[0] == '\0')
        return write_first_time(step);
    if (step.row->pattern)
        return !rules.checked || rules.checked(step);
    return run_rule(rules.stored, rules.otherwise, step);
}

void apply_row(row_step &step, const char *current) {
    const rule_set &rules = *step.rules;
    if (strlen(step.row->value) >= value_limit || !run_rule(rules.always, nullptr, step) ||
        !decide_write(step, current))
        rules.refuse(step);
    else if (lists(rules.written_anyway, step.row->json_key))
        write_row(step);
}

// By contract every row's option is read, also when the request lacks the key (decision 21).
void walk(const rule_set &rules, json_object *in, json_object *out, zuci2_context *ctx, const char *model) {
    for (batch_entry &row : rules.table) {
        row.value = zjson_get_string(in, row.json_key);
        char current[option_size];
        read_option(ctx, row.uci_path, current);
        if (row.value) {
            row_step step = {
                .rules = &rules, .ctx = ctx, .out = out, .model = model, .row = &row, .interface = nullptr};
            apply_row(step, current);
        }
        row.value = nullptr;
    }
}

} // namespace

int apply(const rule_set &rules, json_object *in, json_object *out, zuci2_context *ctx, const char *model) {
    if (!rules.own_context) {
        walk(rules, in, out, ctx, model);
        return AEROLINK_OK;
    }
    {
        const uci_scope uci;
        walk(rules, in, out, uci.ctx, model);
    }
    commit_all();
    return AEROLINK_OK;
}

int apply(const rule_set &rules, json_object *in, json_object *out) {
    return apply(rules, in, out, nullptr, get_model_name());
}

bool write_row(const row_step &step) {
    set_option(step.ctx, step.row->uci_path, step.row->value);
    return true;
}

bool write_unless_repeater(const row_step &step) {
    return wifi_check_repeater_is_connected() != 0 || write_row(step);
}

bool write_lan_ip(const row_step &step) {
    set_option(step.ctx, step.row->uci_path, step.row->value);
    set_option(step.ctx, "dhcp.localhost.ip", step.row->value);
    return true;
}

bool write_guest_lan_ip(const row_step &step) {
    set_option(step.ctx, step.row->uci_path, step.row->value);
    syslog(LOG_INFO, "set guest lan ip =%s\n", step.row->value);
    return true;
}

bool set_bandwidth(const row_step &step) {
    if (wifi_check_repeater_is_connected() != 0)
        return true;
    for (const bandwidth_rule &rule : step.rules->bandwidth) {
        if (!equal(step.row->json_key, rule.key) || !is_for(rule.models, step))
            continue;
        for (const bandwidth_write &write : rule.writes)
            set_option(step.ctx, write.path ? write.path : step.row->uci_path,
                       write.made ? write.made(step.row->value) : write.fixed);
        return true;
    }
    return true;
}

bool set_time_zone(const row_step &step) {
    char escaped[2 * value_limit] = "";
    increase_escape_function(step.row->value, escaped, static_cast<int>(strlen(step.row->value)));
    char command[time_zone_command_size];
    if (!format(command, "grep \"%s\" /usr/share/zoneinfo/tzdata.lua |awk -F\"'\" '{print $4}'", escaped))
        return false;
    char posix_rule[time_zone_size];
    read_uci_line(command, posix_rule);
    set_option(step.ctx, "system.@system[0].zonename", step.row->value);
    set_option(step.ctx, "system.@system[0].timezone", posix_rule);
    if (format(command, "echo \"%s\" >/tmp/TZ", posix_rule))
        run(command);
    return true;
}

bool set_time_zone_and_commit(const row_step &step) {
    if (!set_time_zone(step))
        return false;
    commit_package(step.ctx, "system");
    return true;
}

bool set_txpower(const row_step &step) {
    txpower_max_set(step.row->json_key, step.row->value, step.row->uci_path);
    return true;
}

bool set_password(const row_step &step) {
    batch_set_pwd(step.row->value); // a refused password is not reported (decision 17)
    return true;
}

bool leave_alone(const row_step &) { return true; }

bool is_valid(const row_step &step, const char *text) { return regex_exe(step.row->pattern, text) == 1; }

bool write_when_valid(const row_step &step) {
    if (!is_valid(step, step.row->value)) {
        answer_set_false(step);
        return true;
    }
    return write_valid(step);
}

bool write_valid(const row_step &step) {
    return equal(step.row->json_key, "lan_ip") ? write_lan_ip(step) : write_row(step);
}

void answer_set_false(const row_step &step) { zjson_add_string(step.out, step.row->json_key, "set false"); }

void log_refusal(const row_step &step) { log_too_long(step.row->json_key); }
