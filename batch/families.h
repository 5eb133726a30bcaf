// SPDX-License-Identifier: Apache-2.0
// The matrix of devices: families of models, and by what each route that depends on the model serves them.
#pragma once

#include "batch/names.h"
#include "batch/rule_sets.h"

// What a read route reports of a device.
struct readable {
    std::span<const batch_entry> table;
    name_list zero_while_unset; // keys that a full read reports as "0" while their option is unset
};

// A row of the matrix; its columns are named after the routes. A null cell: the route serves the models as
// models without a row.
struct family {
    name_list models;
    const readable *batch_get;
    const rule_set *batch_set;
    const readable *get_config;
    const rule_set *set_config;
    void (*restart)(); // how set_config brings the network up with the new settings
};

// The row that lists the model, letter for letter; null when none does.
const family *row_of(const char *model);

// The row for models without one, by the number of "wifi-device" sections at this moment.
const family &unlisted_row(zuci2_context *ctx);

// By what a route serves the model: the cell in its column, never null.
template <typename Cell>
Cell cell_of(Cell family::*column, const char *model, zuci2_context *ctx) {
    const family *row = row_of(model);
    return row && row->*column ? row->*column : unlisted_row(ctx).*column;
}
