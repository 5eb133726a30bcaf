// SPDX-License-Identifier: Apache-2.0
// Everything that aerolink.so exports. All of it has C linkage; nothing else in the plug-in is visible.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define AEROLINK_EXPORT __attribute__((visibility("default")))

struct json_object;
struct zuci2_context;

// --- Routes --------------------------------------------------------------------------------------

// What a handler returns.
enum {
    AEROLINK_OK = 0,
    AEROLINK_BAD_VALUE = -4,   // a value is not acceptable
    AEROLINK_MISSING = -5,     // a required member is; the response has "msg": "missing parameters"
    AEROLINK_UNREACHABLE = -24 // the internet is not reachable
};

// A handler reads the request and adds members to the response, which is an empty object on entry; both
// belong to the daemon. A handler must not run beside another one: they share tables and integers without a
// lock.
struct api_entity {
    const char *path;
    const char *method; // "get" or "post"
    int (*handler)(struct json_object *in, struct json_object *out);
};

// The route table, the same at every call; stores its number of rows in *count.
AEROLINK_EXPORT struct api_entity *get_api_entity(uint32_t *count);

AEROLINK_EXPORT int aerolink_ctrl_get(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int aerolink_ctrl_set(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int aerolink_unbind(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int aerolink_bind_info(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int aerolink_log(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int aerolink_log_level_set(struct json_object *in, struct json_object *out);

// A named read ("name" in the request) releases one reference of that member: the caller holds one more.
AEROLINK_EXPORT int aerolink_batch_get(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int aerolink_batch_set(struct json_object *in, struct json_object *out);

// As aerolink_batch_get for the reference of "name".
AEROLINK_EXPORT int batch_get_wbf(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int batch_set_wbf(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int designated_customer(struct json_object *in, struct json_object *out);

// --- State for the life of the process -----------------------------------------------------------

AEROLINK_EXPORT extern int batch_status;    // 0: a reboot is wanted, until a batch says otherwise; 1 at load
AEROLINK_EXPORT extern int xwf_enable_flag; // 1: the last customer file asked for the xwf feature
AEROLINK_EXPORT extern int falcon_2g_5g_swap_done; // 1: the keys of batch_list_ardea are swapped by band

// --- Checks --------------------------------------------------------------------------------------

// 1 when text matches the POSIX extended pattern, 0 when not, -1 for a null argument or a pattern that cannot
// be used. \d \D \s \S \w \W have their usual meaning, in brackets too. Unanchored unless the pattern is
// anchored; anchors match at line feeds, and what names characters that must not match never matches a line
// feed.
AEROLINK_EXPORT int regex_exe(const char *pattern, const char *text);

// 1 when one of the probe addresses answers a ping, otherwise 0. May take seconds for each address.
AEROLINK_EXPORT int cmm_net_reachable2(void);

// --- Transmit power ------------------------------------------------------------------------------

// Derives "package.section.txpower_max" from the path of a "txpower" option into out (size bytes).
// 0, or 1 for a null argument or when the result does not fit.
AEROLINK_EXPORT int get_txpower_max_key(const char *path, char *out, int size);

// Set the option at path to the power of a level (0 max, 1 high, 2 medium, 3 low), without a commit.
// 0, or 1 when the path of the maximum could not be derived.
AEROLINK_EXPORT int txpower_max_2g(int level, const char *path);
AEROLINK_EXPORT int txpower_max_5g(int level, const char *path);

// Sets the option at path to the power of a level name; key ("2g_txpower", "5g_txpower") chooses the band.
// 0, or 1 for an unknown level name or key.
AEROLINK_EXPORT int txpower_max_set(const char *key, const char *value, const char *path);

// --- Batch ---------------------------------------------------------------------------------------

struct batch_entry {
    const char *uci_path; // the option that holds the setting
    const char *json_key; // the member's name in requests and responses
    const char *value;    // the request's text while a walk is at this row, borrowed; null outside a walk
    const char *pattern;  // what a value must match before it is written; null: anything
};

AEROLINK_EXPORT extern struct batch_entry batch_list_common[8];
AEROLINK_EXPORT extern struct batch_entry batch_list1[48];
AEROLINK_EXPORT extern struct batch_entry batch_list2[34];
AEROLINK_EXPORT extern struct batch_entry batch_list_ardea[55];
AEROLINK_EXPORT extern struct batch_entry batch_list_mt76x8[41];
AEROLINK_EXPORT extern struct batch_entry batch_list_mt7615[47];
AEROLINK_EXPORT extern struct batch_entry batch_list_finch[21];
AEROLINK_EXPORT extern struct batch_entry batch_list_wbf[42];
AEROLINK_EXPORT extern struct batch_entry batch_list_wbf1[29];

// Appliers: write the members of a request that their table knows; always AEROLINK_OK.
AEROLINK_EXPORT int batch_set_common(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int batch_set_finch(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int batch_set_heron(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int batch_set_mt(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int batch_set_mt7615(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int batch_set_heron_wbf(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int batch_set_mt_wbf(struct json_object *in, struct json_object *out);

// Works on the caller's context and commits nothing. dual: 0 for a device with one radio.
AEROLINK_EXPORT int batch_set_default(struct json_object *in, struct json_object *out,
                                      struct zuci2_context *ctx, const char *model, int dual);

// Changes the administrator password in UCI and of the account root. AEROLINK_OK, or AEROLINK_BAD_VALUE and
// nothing changed.
AEROLINK_EXPORT int batch_set_pwd(const char *password);

// Sets the interface language from a code of at most 7 characters; always AEROLINK_OK.
AEROLINK_EXPORT int batch_set_language(const char *code);

// --- Customer file -------------------------------------------------------------------------------

// Makes sure that the customer file declares a firmware type. 0 when it does, else the status of the command
// that rewrites it.
AEROLINK_EXPORT int wbf_update_fw_type(void);

// Add the customer file's keys to out, and write them from in; always AEROLINK_OK.
AEROLINK_EXPORT int get_customer_files(struct json_object *in, struct json_object *out);
AEROLINK_EXPORT int set_customer_files(struct json_object *in, struct json_object *out);

#ifdef __cplusplus
}
#endif
