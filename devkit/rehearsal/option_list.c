// SPDX-License-Identifier: Apache-2.0
// A configuration that is a plain list of paths and values.
#include "devkit/rehearsal/option_list.h"

#include "devkit/rehearsal/pool.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

// Only the fingerprints of most entries are looked at.
struct entry {
    uint32_t fingerprint;
    struct option_list_entry text;
};

struct entries {
    struct entry *items;
    size_t count, capacity;
};

struct option_list {
    struct entries now, marked;
    struct pool texts;
    struct pool_mark marked_texts;
};

struct option_list *option_list_new(void) {
    struct option_list *list = calloc(1, sizeof *list);
    if (!list) {
        abort();
    }
    return list;
}

void option_list_free(struct option_list *list) {
    free(list->now.items);
    free(list->marked.items);
    pool_free(&list->texts);
    free(list);
}

void option_list_clear(struct option_list *list) {
    list->now.count = list->marked.count = 0;
    list->marked_texts = (struct pool_mark){0};
    pool_clear(&list->texts);
}

static uint32_t fingerprint_of(const char *path) {
    uint32_t fingerprint = 2166136261U; // FNV-1a
    for (; *path; path++) {
        fingerprint = (fingerprint ^ (unsigned char)*path) * 16777619U;
    }
    return fingerprint;
}

static struct entry *find(struct option_list *list, const char *path) {
    uint32_t fingerprint = fingerprint_of(path);
    for (size_t i = 0; i < list->now.count; i++) {
        struct entry *entry = &list->now.items[i];
        if (entry->fingerprint == fingerprint && strcmp(entry->text.path, path) == 0) {
            return entry;
        }
    }
    return NULL;
}

const char *option_list_get(struct option_list *list, const char *path) {
    struct entry *entry = find(list, path);
    return entry ? entry->text.value : NULL;
}

void option_list_put(struct option_list *list, const char *path, const char *value) {
    const char *copy = pool_copy_text(&list->texts, value);
    struct entry *entry = find(list, path);
    if (entry) {
        entry->text.value = copy;
        return;
    }
    struct entries *now = &list->now;
    now->items = grow(now->items, now->count, &now->capacity, sizeof *now->items);
    now->items[now->count++] =
        (struct entry){fingerprint_of(path), {pool_copy_text(&list->texts, path), copy}};
}

static bool is_in(const char *path, const char *section) {
    size_t length = strlen(section);
    return strncmp(path, section, length) == 0 && (path[length] == '\0' || path[length] == '.');
}

bool option_list_remove(struct option_list *list, const char *path) {
    struct entries *now = &list->now;
    size_t kept = 0;
    for (size_t i = 0; i < now->count; i++) {
        if (!is_in(now->items[i].text.path, path)) {
            now->items[kept++] = now->items[i];
        }
    }
    bool removed = kept < now->count;
    now->count = kept;
    return removed;
}

size_t option_list_length(const struct option_list *list) { return list->now.count; }

struct option_list_entry option_list_at(const struct option_list *list, size_t index) {
    return list->now.items[index].text;
}

// --- As the configuration of a world -------------------------------------------------------------

static const char *get(void *context, const char *path) { return option_list_get(context, path); }

static bool set(void *context, const char *path, const char *value) {
    option_list_put(context, path, value);
    return true;
}

static bool remove_path(void *context, const char *path) { return option_list_remove(context, path); }

static bool commit(void *context, const char *package) {
    (void)context;
    (void)package;
    return true;
}

static void commit_all(void *context) { (void)context; }

static int section_count(void *context, const char *package, const char *type) {
    const struct entries *now = &((struct option_list *)context)->now;
    int count = 0;
    size_t length = strlen(package);
    for (size_t i = 0; i < now->count; i++) {
        const struct option_list_entry *entry = &now->items[i].text;
        bool section = strncmp(entry->path, package, length) == 0 && entry->path[length] == '.' &&
                       !strchr(entry->path + length + 1, '.');
        count += section && strcmp(entry->value, type) == 0;
    }
    return count;
}

static void copy_entries(struct entries *to, const struct entries *from) {
    while (to->capacity < from->count) {
        to->items = grow(to->items, to->capacity, &to->capacity, sizeof *to->items);
    }
    to->count = from->count;
    if (from->count > 0) {
        memcpy(to->items, from->items, from->count * sizeof *to->items);
    }
}

static void mark(void *context) {
    struct option_list *list = context;
    copy_entries(&list->marked, &list->now);
    list->marked_texts = pool_mark(&list->texts);
}

static void put_back(void *context) {
    struct option_list *list = context;
    copy_entries(&list->now, &list->marked);
    pool_rewind(&list->texts, list->marked_texts);
}

struct stage_uci option_list_uci(struct option_list *list) {
    return (struct stage_uci){
        .context = list,
        .get = get,
        .set = set,
        .remove = remove_path,
        .commit = commit,
        .commit_all = commit_all,
        .section_count = section_count,
        .mark = mark,
        .put_back = put_back,
    };
}
