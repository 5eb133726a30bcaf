// SPDX-License-Identifier: Apache-2.0
// The world that a case describes: reads the lines of its input sections and sets the stage accordingly.
#pragma once

#include "tests/recorded/player/text.h"

#include <stdbool.h>
#include <stddef.h>

// Ends the program with status 2 and a message that names the case's file and line.
__attribute__((noreturn, format(printf, 1, 2))) void refuse(const char *format, ...);
extern const char *case_path;
extern size_t case_line;

void world_begin(void); // sets the stage for the first case

void world_begin_section(void); // a command answered in this section forgets its answers of earlier sections

// Each takes one line of its section and refuses a malformed one.
void world_device_line(const char *line);
void world_uci_line(const char *line);
void world_answer_line(const char *line);
void world_file_line(const char *line);
void world_fault_line(const char *line);

void uci_show(struct text *out); // path=value lines in order of insertion
