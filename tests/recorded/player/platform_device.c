// Recording platform: command runners, device facts and texts of the utility library, and the Wi-Fi library.
#include "platform/zuutil.h"
#include "platform/zuwificore.h"
#include "tests/recorded/player/journal.h"
#include "tests/recorded/player/world.h"

#include <ctype.h>
#include <stdio.h>
#include <string.h>

enum { read_limit = 4096, digest_length = 64 };

static void copy_first_line(const char *command, char *buffer) {
    const struct text *line = answer_line(command);
    if (line) {
        snprintf(buffer, read_limit, "%s", text_string(line));
    }
}

int execCommand(const char *command) {
    journal_effect("exec", command);
    return answer_status(command);
}

int getShellCommandReturnLine(const char *command, char *buffer) {
    journal_effect("line", command);
    copy_first_line(command, buffer);
    return answer_status(command);
}

int getUciReturn(const char *command, char *buffer) {
    journal_effect("ucireturn", command);
    copy_first_line(command, buffer);
    return answer_status(command);
}

int fork_exec2(const char *command) {
    journal_effect("fork", command);
    return 0;
}

const char *get_model_name(void) { return world_model(); }

const char *get_service_code(void) { return world_service_code(); }

const char *get_ddns_name(void) { return world_ddns_name(); }

// No digest: a case shows what was hashed.
int sha256(const char *text, char *output) {
    snprintf(output, digest_length + 1, "sha256(%s)", text);
    return 0;
}

static int is_special(char character) {
    unsigned char code = (unsigned char)character;
    return code < 0x80 && !isalnum(code) && !strchr("_./:=@%+,-", code);
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

int cmm_check_file_is_exist(const char *path) { return file_exists(path); }

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
    struct text verb = {0};
    text_format(&verb, "iwpriv%s %s", world_has_fault(fault_iwpriv) ? "-failed" : "", interface_name);
    journal_assignment(text_string(&verb), parameter, value);
    text_free(&verb);
    return world_has_fault(fault_iwpriv) ? -1 : 0;
}
