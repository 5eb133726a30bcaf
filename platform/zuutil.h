// SPDX-License-Identifier: Apache-2.0
// The maker's utility library: UCI access, JSON helpers, command runners and device facts.
// Declarations only; a device brings its own library, the development kit brings one for the desk.
//
// No function here is told the size of a buffer. Every text that one of them writes is NUL-terminated and
// takes at most 4096 bytes with its NUL, unless its comment says otherwise.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

struct json_object;

// --- UCI -----------------------------------------------------------------------------------------
// A path is "package", "package.section" or "package.section.option"; a section may be a selector such as
// "@wifi-iface[0]". Functions that return int give 0 on success.

struct zuci2_context;

// A new context, to be freed with zuci2_free; null on failure.
struct zuci2_context *zuci2_init(void);

// Copies the option's value into buffer; a list option gives its values joined by one space.
// Missing option or null context: non-zero, buffer untouched.
int zuci2_get(struct zuci2_context *ctx, const char *path, char *buffer);

// "package.section" sets the section's type and creates the section; "package.section.option" sets the option
// and fails when the section is missing. A recorded change survives zuci2_free without a commit: the next
// commit by anyone, the command `uci commit` included, makes it durable, and every context opened later reads
// it.
int zuci2_set(struct zuci2_context *ctx, const char *path, const char *value);

// Deletes an option or a section; a missing one is an error that changes nothing.
int zuci2_delete(struct zuci2_context *ctx, const char *path);

int zuci2_commit(struct zuci2_context *ctx, const char *package);

// How many sections have the type that follows "@", as in "wireless.@wifi-device"; 0 for a missing package.
int zuci2_section_count(struct zuci2_context *ctx, const char *type);

void zuci2_free(struct zuci2_context *ctx);

// --- JSON ----------------------------------------------------------------------------------------

// The member's text, owned by the object; null when the member is missing or JSON null. A number, boolean,
// array or object gives its JSON text.
const char *zjson_get_string(struct json_object *object, const char *key);

// 1 or 0; a missing member is 0.
int zjson_get_boolean(struct json_object *object, const char *key);

// 1 when the member exists, whatever its value; otherwise 0.
int zjson_contain_key(struct json_object *object, const char *key);

// Add the member, or replace the value of a member already there in its place. Strings are copied;
// zjson_add_object takes over the caller's reference to value.
void zjson_add_string(struct json_object *object, const char *key, const char *value);
void zjson_add_int(struct json_object *object, const char *key, int value);
void zjson_add_boolean(struct json_object *object, const char *key, int value);
void zjson_add_object(struct json_object *object, const char *key, struct json_object *value);

// Appends a copy of value.
void zjson_array_add_string(struct json_object *array, const char *value);

// --- Commands ------------------------------------------------------------------------------------

// Runs the command line with the shell and waits; its exit status.
int execCommand(const char *command);

// Run the command line with the shell, wait, and copy its first output line without the line end into buffer.
// No output leaves the buffer untouched.
int getShellCommandReturnLine(const char *command, char *buffer);
int getUciReturn(const char *command, char *buffer);

// Starts the command line with the shell in a detached child and returns at once. Successive calls start in
// call order; no zombie is left.
int fork_exec2(const char *command);

// --- Device facts --------------------------------------------------------------------------------
// The texts belong to the library.

const char *get_model_name(void);
const char *get_service_code(void);
const char *get_ddns_name(void); // may be null

// --- Text ----------------------------------------------------------------------------------------

// The text's digest as 64 lower-case hexadecimal digits and a NUL.
int sha256(const char *text, char *output);

// Copies length characters of source, a backslash before each that the shell treats specially; writes at most
// 2 * length + 1 bytes.
int increase_escape_function(const char *source, char *destination, int length);

// 1 when the file exists, otherwise 0.
int cmm_check_file_is_exist(const char *path);

// Change the text in place.
void str_to_upper(char *text);
void str_to_lower(char *text);

#ifdef __cplusplus
}
#endif
