// SPDX-License-Identifier: Apache-2.0
// Command runners, device facts and texts of the utility library, and the Wi-Fi library.
#include "devkit/rehearsal/commands.h"
#include "devkit/rehearsal/record.h"
#include "devkit/rehearsal/world_state.h"
#include "platform/zuutil.h"
#include "platform/zuwificore.h"

#include <ctype.h>
#include <stdio.h>
#include <string.h>

enum { read_limit = 4096, digest_length = 64 };

// The command's status; copies its first line, if it gives output.
static int copy_first_line(enum stage_kind kind, const char *command, char *buffer) {
    struct world_answer answer = command_run(kind, command);
    if (answer.output) {
        snprintf(buffer, read_limit, "%.*s", (int)strcspn(answer.output, "\n"), answer.output);
    }
    return answer.status;
}

int execCommand(const char *command) { return command_run(stage_exec, command).status; }

int getShellCommandReturnLine(const char *command, char *buffer) {
    return copy_first_line(stage_line, command, buffer);
}

int getUciReturn(const char *command, char *buffer) {
    return copy_first_line(stage_ucireturn, command, buffer);
}

int fork_exec2(const char *command) {
    command_run(stage_fork, command);
    return 0;
}

static const char *or_empty(const char *text) { return text ? text : ""; }

const char *get_model_name(void) { return or_empty(world.device.model); }

const char *get_service_code(void) { return or_empty(world.device.service_code); }

const char *get_ddns_name(void) { return world.device.ddns_name; }

int sha256(const char *text, char *output) {
    if (world.device.sha256) {
        return world.device.sha256(text, output);
    }
    snprintf(output, digest_length + 1, "sha256(%s)", text);
    return 0;
}

// What the shell gives a meaning of its own in an unquoted word.
static int is_special(char character) {
    return character && strchr(" \t\n\v\f\r'\"\\$`!*?[]{}()<>|&;~#^", character);
}

int increase_escape_function(const char *source, char *destination, int length) {
    char *end = destination;
    for (int i = 0; i < length; i++) {
        if (is_special(source[i])) {
            *end++ = '\\';
        }
        *end++ = source[i];
    }
    *end = '\0';
    return 0;
}

int cmm_check_file_is_exist(const char *path) { return world_file_exists(path); }

void str_to_upper(char *text) {
    for (; *text; text++) {
        *text = (char)toupper((unsigned char)*text);
    }
}

void str_to_lower(char *text) {
    for (; *text; text++) {
        *text = (char)tolower((unsigned char)*text);
    }
}

int wifi_check_repeater_is_connected(void) { return world_repeater(); }

int mt76x8_private_iwpriv_set(const char *interface_name, const char *parameter, const char *value) {
    bool fails = world.faults[stage_fault_iwpriv];
    struct stage_effect *effect = record(stage_iwpriv, fails ? stage_failed : stage_done, interface_name);
    effect->parameter = record_text(parameter);
    effect->value = record_text(value);
    return fails ? -1 : 0;
}
