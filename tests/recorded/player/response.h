// SPDX-License-Identifier: Apache-2.0
// How a response stands in a case file.
#pragma once

#include "tests/recorded/player/text.h"

struct json_object;

// Appends the object, one member a line, arrays one element a line; 64 or more equal elements in a row become
// one line "ELEMENT (N times)". Slashes stand unescaped.
void response_show(struct text *out, struct json_object *response);
