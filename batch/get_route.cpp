// "/cloud/aerolink/batch_get": reports what a cloud push can set.
#include "batch/read.h"
#include "plugin/text.h"

#include <cstdlib>
#include <cstring>
#include <syslog.h>

namespace {

constexpr size_t swapped_key_size = 128;

// Gives the row the other band's key: a copy that the table owns for the rest of the process.
void swap_band(batch_entry &row) {
    const bool is_2g = strncmp(row.json_key, "2g_", 3) == 0;
    if (!is_2g && strncmp(row.json_key, "5g_", 3) != 0)
        return;
    char *swapped = static_cast<char *>(calloc(1, swapped_key_size));
    if (!swapped)
        return;
    copy_cut({swapped, swapped_key_size}, row.json_key);
    swapped[0] = is_2g ? '5' : '2';
    row.json_key = swapped;
}

// falcon numbers its radios the other way round. From the first full read on, every walk of its table, the
// set side included, matches the keys of the other band.
void swap_falcon_bands(const char *model) {
    if (!equal(model, "falcon") || falcon_2g_5g_swap_done != 0)
        return;
    falcon_2g_5g_swap_done = 1;
    syslog(LOG_INFO, "swap falcon 2g 5g alias\n\n\n");
    for (batch_entry &row : batch_list_ardea)
        swap_band(row);
}

} // namespace

int aerolink_batch_get(json_object *in, json_object *out) {
    read_settings(&family::batch_get, in, out, swap_falcon_bands);
    return AEROLINK_OK;
}
