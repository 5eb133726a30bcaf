// SPDX-License-Identifier: Apache-2.0
// Writes the record of a call: what its effects are made with.
#pragma once

#include "devkit/rehearsal/effects.h"

#include <stdarg.h>

// Adds an effect; the subject is copied. To be completed before the next one is added.
struct stage_effect *record(enum stage_kind kind, enum stage_outcome outcome, const char *subject);

// Copies for the life of the record; null for null.
const char *record_text(const char *text);

const char *record_bytes(const char *bytes, size_t length); // with a NUL behind them
__attribute__((format(printf, 1, 0))) const char *record_format(const char *format, va_list arguments);

// Memory for the life of the record, zeroed.
void *record_memory(size_t size);

void record_clear(void);
