// SPDX-License-Identifier: Apache-2.0
// Memory that is taken piece by piece and given back all at once, or down to a mark, so that a play costs
// hardly any calls of the allocator.
#pragma once

#include <stdarg.h>
#include <stddef.h>

struct pool_chunk;

// Zero-initialise before use.
struct pool {
    struct pool_chunk *first, *current;
    size_t used; // of the current chunk
};

// A place in the pool: everything that was taken later can be given back.
struct pool_mark {
    struct pool_chunk *chunk; // null: the beginning
    size_t used;
};

// Aligned for any type, not zeroed; never null.
void *pool_take(struct pool *pool, size_t size);

// A copy with a NUL behind it.
char *pool_copy(struct pool *pool, const char *bytes, size_t length);

// The same of a text, null for null.
const char *pool_copy_text(struct pool *pool, const char *text);

__attribute__((format(printf, 2, 0))) char *pool_format(struct pool *pool, const char *format,
                                                        va_list arguments);

struct pool_mark pool_mark(const struct pool *pool);
void pool_rewind(struct pool *pool, struct pool_mark mark);
void pool_clear(struct pool *pool); // to the beginning
void pool_free(struct pool *pool);  // gives the memory back to the allocator

// Makes room for one more element of size bytes behind count of them in a block of the allocator, whose room
// is *capacity.
void *grow(void *elements, size_t count, size_t *capacity, size_t size);
