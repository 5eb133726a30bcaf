// What the plug-in did during one call: its effects in order, and what it may never do.
#pragma once

#include "tests/recorded/player/text.h"

// Records "VERB TEXT"; a null text is written (null).
void journal_effect(const char *verb, const char *text);

// Records "VERB".
void journal_event(const char *verb);

// Records "VERB SUBJECT=VALUE".
void journal_assignment(const char *verb, const char *subject, const char *value);

// Records an indented line of a written file.
void journal_written_line(const char *line, size_t length, int ended);

// Records a broken rule of the platform's or the daemon's contracts; it shows in [state].
__attribute__((format(printf, 1, 2))) void journal_violation(const char *format, ...);

// What has been recorded since the last journal_clear, as lines.
const char *journal_effects(void);
const char *journal_violations(void);
void journal_clear(void);
