// SPDX-License-Identifier: Apache-2.0
// The branding keys of the customer file: written whole from a request, and read back.
#include "platform/zuutil.h"
#include "plugin/aerolink.h"
#include "plugin/customer_file.h"
#include "plugin/hardened.h"
#include "plugin/log.h"
#include "plugin/text.h"

#include <cstdio>

namespace {

constexpr const char *branding_keys[] = {"customer_name", "help_url", "image_url", "xwf_enable"};

constexpr char white_label_build[] = "2"; // of "fw_type"; a request cannot choose it

// By contract nothing is escaped: a line feed in a value begins a line of its own, which may name any key
// (decision 10).
void write_line(FILE *file, const char *key, const char *value) {
    if (!file)
        return;
    fprintf(file, "%s=%s", key, value);
    fputc('\n', file);
    fflush(file); // a command that is started later must not inherit unwritten lines
}

// Starts the download of the logo, which the web pages load by this exact name. By contract the URL enters
// the command as it is: what follows a blank, ";" or "&" in it is the shell's, unless the build is
// hardened. False when the URL is too long.
bool fetch_logo(const char *url) {
    char command[256];
    if (!format(command, "wget -O /www/src/static/images/custmer.png %s", url))
        return false;
    fork_exec2(command);
    return true;
}

// False, and logged, when the URL is refused.
bool accept_logo(const char *key, const char *url) {
    if (refuses(url)) {
        log_refused(key);
        return false;
    }
    if (fetch_logo(url))
        return true;
    log_too_long(key);
    return false;
}

// Writes the line of one key; a key that the request lacks has none. The side effects need no file.
void write_key(FILE *file, json_object *in, const char *key) {
    const char *value = zjson_get_string(in, key);
    if (!value)
        return;
    if (equal(key, "image_url") && !accept_logo(key, value))
        return;
    if (equal(key, "xwf_enable") && equal(value, "1"))
        xwf_enable_flag = 1;
    write_line(file, key, value);
}

} // namespace

int set_customer_files(json_object *in, json_object *) {
    xwf_enable_flag = 0;
    FILE *file = fopen(customer_file, "w+");
    write_line(file, "fw_type", white_label_build);
    for (const char *key : branding_keys)
        write_key(file, in, key);
    if (file)
        fclose(file);
    if (xwf_enable_flag == 1)
        fork_exec2("/usr/bin/xwf-fix");
    return AEROLINK_OK;
}

int get_customer_files(json_object *, json_object *out) {
    for (const char *key : branding_keys) {
        char value[128];
        read_customer_key(key, value);
        zjson_add_string(out, key, value);
    }
    return AEROLINK_OK;
}
