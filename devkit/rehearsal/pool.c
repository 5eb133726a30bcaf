// SPDX-License-Identifier: Apache-2.0
// Chunks of memory, the first of which serves most plays.
#include "devkit/rehearsal/pool.h"

#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { usual_size = 64 * 1024 };

struct pool_chunk {
    struct pool_chunk *next;
    size_t size;
    max_align_t memory[];
};

static void *or_abort(void *block) {
    if (!block) {
        abort();
    }
    return block;
}

// Puts a chunk with room for size bytes behind `behind`, null: at the beginning.
static struct pool_chunk *insert_chunk(struct pool *pool, struct pool_chunk *behind, size_t size) {
    size = size > usual_size ? size : usual_size;
    struct pool_chunk *chunk = or_abort(malloc(sizeof *chunk + size));
    struct pool_chunk **link = behind ? &behind->next : &pool->first;
    *chunk = (struct pool_chunk){.next = *link, .size = size};
    *link = chunk;
    return chunk;
}

void *pool_take(struct pool *pool, size_t size) {
    size = (size + sizeof(max_align_t) - 1) / sizeof(max_align_t) * sizeof(max_align_t);
    if (!pool->current || size > pool->current->size - pool->used) {
        struct pool_chunk *next = pool->current ? pool->current->next : pool->first;
        pool->current = next && size <= next->size ? next : insert_chunk(pool, pool->current, size);
        pool->used = 0;
    }
    void *block = (char *)pool->current->memory + pool->used;
    pool->used += size;
    return block;
}

char *pool_copy(struct pool *pool, const char *bytes, size_t length) {
    char *copy = pool_take(pool, length + 1);
    if (length > 0) {
        memcpy(copy, bytes, length);
    }
    copy[length] = '\0';
    return copy;
}

const char *pool_copy_text(struct pool *pool, const char *text) {
    return text ? pool_copy(pool, text, strlen(text)) : NULL;
}

char *pool_format(struct pool *pool, const char *format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    size_t length = (size_t)vsnprintf(NULL, 0, format, again);
    va_end(again);
    char *text = pool_take(pool, length + 1);
    vsnprintf(text, length + 1, format, arguments);
    return text;
}

struct pool_mark pool_mark(const struct pool *pool) {
    return (struct pool_mark){pool->current, pool->used};
}

// Large chunks are not kept: each would serve only one more large piece.
void pool_rewind(struct pool *pool, struct pool_mark mark) {
    pool->current = mark.chunk;
    pool->used = mark.used;
    struct pool_chunk **link = mark.chunk ? &mark.chunk->next : &pool->first;
    while (*link) {
        struct pool_chunk *chunk = *link;
        if (chunk->size > usual_size) {
            *link = chunk->next;
            free(chunk);
        } else {
            link = &chunk->next;
        }
    }
}

void pool_clear(struct pool *pool) { pool_rewind(pool, (struct pool_mark){0}); }

void pool_free(struct pool *pool) {
    while (pool->first) {
        struct pool_chunk *chunk = pool->first;
        pool->first = chunk->next;
        free(chunk);
    }
    *pool = (struct pool){0};
}

void *grow(void *elements, size_t count, size_t *capacity, size_t size) {
    if (count < *capacity) {
        return elements;
    }
    *capacity = 2 * count + 16;
    return or_abort(realloc(elements, *capacity * size));
}
