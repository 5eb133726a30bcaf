// SPDX-License-Identifier: Apache-2.0
// The batch tables, and the integers that live as long as the plug-in.
#include "devkit/rehearsal/rows.h"

#include "devkit/rehearsal/stage.h"

#include <dlfcn.h>
#include <stdbool.h>

// --- Tables and integers -------------------------------------------------------------------------

#define ROWS(name) (sizeof(name) / sizeof(struct batch_entry))
static struct stage_table tables[] = {
#define TABLE(name)                                                                                          \
    { #name, NULL, ROWS(name) }
    TABLE(batch_list_common), TABLE(batch_list1),       TABLE(batch_list2),
    TABLE(batch_list_ardea),  TABLE(batch_list_mt76x8), TABLE(batch_list_mt7615),
    TABLE(batch_list_finch),  TABLE(batch_list_wbf),    TABLE(batch_list_wbf1),
#undef TABLE
};
enum {
    table_count = sizeof tables / sizeof *tables,
    row_count = ROWS(batch_list_common) + ROWS(batch_list1) + ROWS(batch_list2) + ROWS(batch_list_ardea) +
                ROWS(batch_list_mt76x8) + ROWS(batch_list_mt7615) + ROWS(batch_list_finch) +
                ROWS(batch_list_wbf) + ROWS(batch_list_wbf1),
    integer_count = 3
};

static struct stage_integer_set integers;
static struct batch_entry *rows[row_count]; // of all tables

struct state {
    int integers[integer_count];
    const char *keys[row_count];
};
static struct state loaded, marked;

static struct state current_state(void) {
    struct state state = {
        .integers = {*integers.batch_status, *integers.xwf_enable_flag, *integers.falcon_2g_5g_swap_done}};
    for (size_t i = 0; i < row_count; i++) {
        state.keys[i] = rows[i]->json_key;
    }
    return state;
}

const char *rows_find(void *plugin) {
    const struct {
        const char *name;
        int **integer;
    } exported[] = {{"batch_status", &integers.batch_status},
                    {"xwf_enable_flag", &integers.xwf_enable_flag},
                    {"falcon_2g_5g_swap_done", &integers.falcon_2g_5g_swap_done}};
    for (size_t i = 0; i < integer_count; i++) {
        if (!(*exported[i].integer = dlsym(plugin, exported[i].name))) {
            return exported[i].name;
        }
    }
    size_t next = 0;
    for (size_t i = 0; i < table_count; i++) {
        if (!(tables[i].rows = dlsym(plugin, tables[i].name))) {
            return tables[i].name;
        }
        for (size_t row = 0; row < tables[i].row_count; row++) {
            rows[next++] = &tables[i].rows[row];
        }
    }
    marked = loaded = current_state();
    return NULL;
}

const struct stage_table *stage_tables(size_t *count) {
    *count = table_count;
    return tables;
}

const struct stage_integer_set *stage_integers(void) { return &integers; }

// --- The row that a walk is at -------------------------------------------------------------------

static size_t last;    // the row that had a value most recently
static bool none_left; // no row has one, and none can have until rows_may_change

void rows_may_change(void) { none_left = false; }

// Whether a row has a value; it is then rows[last]. A walk goes forward, so the next one is mostly a few
// behind.
static bool find_row(void) {
    for (size_t i = 0; i < row_count && !none_left; i++) {
        size_t row = (last + i) % row_count;
        if (rows[row]->value) {
            last = row;
            return true;
        }
    }
    none_left = true;
    return false;
}

const char *rows_current_key(void) { return find_row() ? rows[last]->json_key : NULL; }

static void report_values(const struct stage_table *table) {
    for (size_t row = 0; row < table->row_count; row++) {
        if (table->rows[row].value) {
            stage_add_violation("value left in %s[%zu]", table->name, row);
        }
    }
}

void rows_check_values(void) {
    rows_may_change();
    for (size_t i = 0; find_row() && i < table_count; i++) {
        report_values(&tables[i]);
    }
}

// --- Putting back --------------------------------------------------------------------------------

void rows_mark(void) { marked = current_state(); }

static void give_state(const struct state *state) {
    *integers.batch_status = state->integers[0];
    *integers.xwf_enable_flag = state->integers[1];
    *integers.falcon_2g_5g_swap_done = state->integers[2];
    for (size_t i = 0; i < row_count; i++) {
        rows[i]->value = NULL;
        rows[i]->json_key = state->keys[i]; // some reads exchange them
    }
    none_left = true;
}

void rows_put_back(void) { give_state(&marked); }

void rows_reset(void) {
    marked = loaded;
    give_state(&loaded);
}
