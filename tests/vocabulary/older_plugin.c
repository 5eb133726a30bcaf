// SPDX-License-Identifier: Apache-2.0
// What an older plug-in exports, of which one table had fewer rows; WITHOUT_ROUTES: and which lacks
// functions.
#include <stdint.h>

#define EXPORTED __attribute__((visibility("default")))

enum { ROW = 4 * sizeof(char *) };

EXPORTED int batch_status, xwf_enable_flag, falcon_2g_5g_swap_done;

#define TABLE(name, rows) EXPORTED char name[(rows)*ROW] = {0};
TABLE(batch_list_common, 8)
TABLE(batch_list1, 47)
TABLE(batch_list2, 34)
TABLE(batch_list_ardea, 55)
TABLE(batch_list_mt76x8, 41)
TABLE(batch_list_mt7615, 47)
TABLE(batch_list_finch, 21)
TABLE(batch_list_wbf, 42)
TABLE(batch_list_wbf1, 29)

#ifndef WITHOUT_ROUTES
EXPORTED void *get_api_entity(uint32_t *count) {
    *count = 0;
    return 0;
}

EXPORTED int regex_exe(const char *pattern, const char *text) { return pattern == text; }
#endif
